#include "server/text/Cp866Literal.h"
#include "server/text/ToUTF8Converter.h"
#include "server/text/Utf8ToCP866Converter.h"
#include "tests/support/basics.h"

using namespace std::string_literals;

static std::string toUtf8(const std::string& cp866) {
    return ToUTF8Converter::convertCP866ToUtf8_manual(cp866);
}

static std::string toCp866(const std::string& utf8) {
    return Utf8ToCP866Converter::convertUtf8ToCP866_manual(utf8);
}

/// The upper half of the published chart of code page 866, 0x80 to 0xFF, as characters.
static const std::string kChart =
    "АБВГДЕЖЗИЙКЛМНОПРСТУФХЦЧШЩЪЫЬЭЮЯабвгдежзийклмноп"
    "░▒▓│┤╡╢╖╕╣║╗╝╜╛┐└┴┬├─┼╞╟╚╔╩╦╠═╬╧╨╤╥╙╘╒╓╫╪┘┌█▄▌▐▀"
    "рстуфхцчшщъыьэюяЁёЄєЇїЎў°∙·√№¤■\u00A0";

TEST(Cp866, HasThePublishedCharactersInBothDirections) {
    std::string lower(0x80, '\0'), upper(0x80, '\0');
    std::iota(lower.begin(), lower.end(), '\0');
    std::iota(upper.begin(), upper.end(), '\x80');
    EXPECT_EQ(toUtf8(upper), kChart);
    EXPECT_EQ(toCp866(kChart), upper);
    EXPECT_EQ(toUtf8(lower), lower) << "ASCII, NUL included, stays";
    EXPECT_EQ(toCp866(lower), lower);
}

TEST(Utf8ToCp866, TakesAnyBytes) {
    const struct {
        const char* why;
        std::string utf8, cp866;
    } cases[] = {
        {"an overlong letter in three bytes", "\xE0\x81\x81", "A"},
        {"an overlong NUL", "\xC0\x80", "\0"s},
        {"a continuation byte alone", "\x96.", "?."},
        {"a lead byte before a good letter", "\xD0\xD0\x96", "?\x86"},
        {"a two-byte sequence cut by the end", "A\xD0", "A?"},
        {"a three-byte sequence cut by the end", "\xE2\x84", "??"},
        {"a three-byte sequence cut by a sign", "\xE2\x84.", "??."},
        {"a lead byte followed by NUL", "\xD0\0"s, "?\0"s},
        {"a surrogate", "\xED\xA0\x80", "?"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_EQ(toCp866(c.utf8), c.cp866);
    }
}

TEST(ToUtf8, AppendsOneToThreeBytes) {
    std::string out = "x";
    for (const int code : {0x00, 0x7F, 0x80, 0x7FF, 0x800, 0xFFFF})
        ToUTF8Converter::append_utf8(out, static_cast<std::uint16_t>(code));
    EXPECT_EQ(out, "x\0\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"s);
}

TEST(ToUtf8, DumpsBytes) {
    EXPECT_EQ(ToUTF8Converter::getHexRepresentation("\x8F\0A"s), "8F 00 41");
    EXPECT_EQ(ToUTF8Converter::getHexRepresentation(""), "");
}

TEST(Cp866Literal, IsTheControllersBytes) {
    EXPECT_EQ("ЦП №\0-"_cp866, "\x96\x8F \xFC\0-"s);
}
