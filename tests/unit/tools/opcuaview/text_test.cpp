#include "tools/opcuaview/text.h"

#include <gtest/gtest.h>

namespace opcuaview {

TEST(DisplayWidth, CountsTerminalColumns) {
    const struct {
        const char* why;
        const char* text;
        int want;
    } cases[] = {
        {"Cyrillic takes two bytes and one column", "Котёл", 5},
        {"a combining accent takes no column", "е\xCC\x81", 1},
        {"a wide character takes two", "温度", 4},
        {"a malformed byte is shown as one", "a\xFFz", 3},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_EQ(displayWidth(c.text), c.want);
    }
}

TEST(Fitted, FillsExactlyTheColumns) {
    EXPECT_EQ(fitted("Котёл", 7), "Котёл  ");
    EXPECT_EQ(fitted("12.5", 6, Align::right), "  12.5");
    EXPECT_EQ(fitted("Давление", 5), "Давл…");
    EXPECT_EQ(fitted("温度計", 4), "温… ") << "a wide character that would be halved is left out";
}

TEST(Printable, KeepsAServerFromSteeringTheTerminal) {
    EXPECT_EQ(printable("\x1b[2Jстоп\n\x07"), "?[2Jстоп??");
    EXPECT_EQ(printable("\xC2\x9B"
                        "31m"),
              "?31m")
        << "the one-character form of an escape sequence";
    EXPECT_EQ(printable("ок\xFF"), "ок\xEF\xBF\xBD");
    EXPECT_EQ(printable(std::string_view("a\0b", 3)), "a?b");
}

TEST(Lowered, CoversCyrillic) {
    EXPECT_EQ(lowered("VA_Ёлка_ТМ"), "va_ёлка_тм");
    EXPECT_EQ(lowered("\xFFЯ"), "\xFFя") << "a malformed byte stays what it is";
}

}  // namespace opcuaview
