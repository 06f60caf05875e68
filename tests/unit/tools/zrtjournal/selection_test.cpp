#include "tools/zrtjournal/selection.h"

#include "tests/support/basics.h"
#include "tools/zrtjournal/message_text.h"

static SRolMessage message(std::uint32_t code, std::time_t time = 0) {
    SRolMessage made{};
    made.MessageCode = code;
    made.Date = {static_cast<std::uint32_t>(time), 999};
    return made;
}

TEST(Selection, TakesCodesOfAList) {
    const char* const all = "12345";  // what a list takes that is none
    const std::pair<const char*, const char*> cases[] = {
        {"2", "2"}, {"1-3", "123"}, {" 5 , 1 - 2", "125"}, {"3-4294967295", "345"}, {"", all},
        {"x", all}, {"1,,2", all},  {"3-2", all},          {"4294967296", all}};
    for (const auto& [list, wanted] : cases) {
        SCOPED_TRACE(list);
        tools::zrtjournal::Selection selection;
        EXPECT_EQ(selection.setCodes(list), wanted != all);
        std::string taken;
        for (unsigned code = 1; code <= 5; ++code)
            if (selection.takes(message(code))) taken += std::to_string(code);
        EXPECT_EQ(taken, wanted);
    }
}

TEST(Selection, TakesALocalSpanOfTime) {
    setenv("TZ", "XXX-3", 1);
    tzset();
    constexpr std::time_t kNoon = 1'795'251'600;  // 2026-11-21 12:00:00 local
    const struct {
        const char* text;
        bool isTime;
        std::time_t begin, end;  // from kNoon; the span that the text names
    } cases[] = {
        {"2026-11-21T12:00:05", true, 5, 6}, {"2026-11-21 12:00", true, 0, 60},
        {"21-11-2026 11:59", true, -60, 0},  {"21-11-2026", true, -12 * 3600, 12 * 3600},
        {"12:30", true, 1800, 1860},         {"31-11-2026", false, 0, 0},
        {"2026-11-21 25:00", false, 0, 0},   {"21-11-26", false, 0, 0},
        {"12:00:00x", false, 0, 0},          {"", false, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.text);
        tools::zrtjournal::Selection selection;
        EXPECT_EQ(selection.setFrom(c.text, kNoon + 100), c.isTime);
        EXPECT_EQ(selection.setTo(c.text, kNoon + 100), c.isTime);
        if (!c.isTime) continue;
        EXPECT_FALSE(selection.takes(message(1, kNoon + c.begin - 1)));
        EXPECT_TRUE(selection.takes(message(1, kNoon + c.begin)));
        EXPECT_TRUE(selection.takes(message(1, kNoon + c.end - 1)));
        EXPECT_FALSE(selection.takes(message(1, kNoon + c.end)));
    }
    unsetenv("TZ");
    tzset();
}

TEST(MessageText, TellsUtf8FromCp866) {
    using tools::zrtjournal::readable;
    EXPECT_EQ(readable("\xE1\xE2\xE0\xAE\xAA\xA0 \xFC-"), "строка №-");
    EXPECT_EQ(readable("строка №-"), "строка №-");
    EXPECT_EQ(readable("\xE0\xA0\xAC"), "рам") << "would be a letter of another script";
    EXPECT_EQ(readable("\xD0"), "╨");
    EXPECT_EQ(readable("a\x1B[2J\n\xAA"), "a [2J к") << "a terminal stays undisturbed";
    EXPECT_EQ(readable(""), "");
}
