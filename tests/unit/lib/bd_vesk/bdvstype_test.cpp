#include "lib/bd_vesk/bdvstype.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

namespace {

template <class T>
SVal make(TYPE_VAL type, T scalar) {
    SVal val(type);
    std::memcpy(reinterpret_cast<std::uint8_t*>(&val) + 4, &scalar, sizeof(T));
    return val;
}
SVal chr(int value) {
    return make(type_char, static_cast<std::uint8_t>(value));
}
SVal uch(int value) {
    return make(type_uchar, static_cast<std::uint8_t>(value));
}
SVal i16(int value) {
    return make(type_short, static_cast<std::int16_t>(value));
}
SVal u16(int value) {
    return make(type_ushort, static_cast<std::uint16_t>(value));
}
SVal i32(std::int64_t value) {
    return make(type_int, static_cast<std::int32_t>(value));
}
SVal u32(std::int64_t value) {
    return make(type_uint, static_cast<std::uint32_t>(value));
}
SVal flt(float value) {
    return make(type_float, value);
}
SVal text(TYPE_VAL type, const std::string& value) {
    SVal val(type);
    std::memcpy(reinterpret_cast<std::uint8_t*>(&val) + 4, value.data(), value.size());
    return val;
}
SVal str9(const std::string& value) {
    return text(type_str9, value);
}
SVal str17(const std::string& value) {
    return text(type_str17, value);
}

SVal assigned(TYPE_VAL to, const SVal& from) {
    SVal result(to);
    result = from;
    return result;
}

/// All 21 bytes, so that nothing beside the value hides.
std::string bytesOf(const SVal& val) {
    std::string hex;
    for (std::size_t i = 0; i < sizeof(SVal); ++i) {
        char digits[4];
        std::snprintf(digits, sizeof(digits), "%02x ",
                      reinterpret_cast<const std::uint8_t*>(&val)[i]);
        hex += digits;
    }
    return hex;
}

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

struct Case {
    const char* why;
    SVal from;
    TYPE_VAL to;
    SVal want;
};

void check(const std::vector<Case>& cases) {
    for (const Case& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_EQ(bytesOf(assigned(c.to, c.from)), bytesOf(c.want));
    }
}

TEST(SValAssign, ConvertsIntegersByTheirLowBytes) {
    check({
        {"a char goes over as the byte", chr(0x85), type_uchar, uch(0x85)},
        {"a short gives its low byte", i16(300), type_char, chr(44)},
        {"a ushort too", u16(0xFF80), type_uchar, uch(0x80)},
        {"an int too", i32(-2), type_char, chr(0xFE)},
        {"a uint too", u32(0x12345678), type_char, chr(0x78)},
        {"a char is read as unsigned into a short", chr(-1), type_short, i16(255)},
        {"and into a ushort", chr(-1), type_ushort, u16(255)},
        {"and into an int", chr(-128), type_int, i32(128)},
        {"and into a uint", uch(255), type_uint, u32(255)},
        {"a ushort keeps its bits in a short", u16(0xFFFE), type_short, i16(-2)},
        {"and a short in a ushort", i16(-2), type_ushort, u16(0xFFFE)},
        {"an int gives its low 16 bits", i32(0x12348765), type_short, i16(0x8765 - 0x10000)},
        {"a uint too", u32(0x12348765), type_ushort, u16(0x8765)},
        {"a short is sign-extended into an int", i16(-2), type_int, i32(-2)},
        {"and into a uint", i16(-2), type_uint, u32(0xFFFFFFFE)},
        {"a ushort is zero-extended", u16(0xFFFE), type_int, i32(0xFFFE)},
        {"into a uint too", u16(0xFFFE), type_uint, u32(0xFFFE)},
        {"a uint keeps its bits in an int", u32(0xFFFFFFFF), type_int, i32(-1)},
        {"and an int in a uint", i32(-1), type_uint, u32(0xFFFFFFFF)},
    });
}

TEST(SValAssign, TruncatesFloatsAndSaturatesThemAt32Bits) {
    check({
        {"truncated toward zero", flt(2.9F), type_short, i16(2)},
        {"also below zero", flt(-2.9F), type_short, i16(-2)},
        {"a negative float gives 0 in a char", flt(-1.5F), type_char, chr(0)},
        {"and in a ushort", flt(-1.5F), type_ushort, u16(0)},
        {"and in a uint", flt(-kInf), type_uint, u32(0)},
        {"a char takes the low byte", flt(300.7F), type_char, chr(44)},
        {"of the saturated number", flt(1e10F), type_uchar, uch(255)},
        {"a short the low 16 bits", flt(70000.0F), type_short, i16(70000 - 65536)},
        {"of the saturated number", flt(1e10F), type_short, i16(-1)},
        {"at the lower end too", flt(-1e10F), type_short, i16(0)},
        {"a ushort goes up to 32 bits unsigned", flt(3e9F), type_ushort, u16(0x5E00)},
        {"an int saturates above", flt(2147483648.0F), type_int, i32(2147483647)},
        {"just below it is exact", flt(2147483520.0F), type_int, i32(2147483520)},
        {"an int saturates below", flt(-kInf), type_int, i32(-2147483647 - 1)},
        {"a uint saturates above", flt(4294967296.0F), type_uint, u32(0xFFFFFFFF)},
        {"a uint takes what no int holds", flt(3e9F), type_uint, u32(3000000000)},
        {"what is no number gives 0", flt(kNan), type_int, i32(0)},
        {"everywhere", flt(kNan), type_char, chr(0)},
    });
}

TEST(SValAssign, MakesFloats) {
    check({
        {"a float as it is", flt(-0.1F), type_float, flt(-0.1F)},
        {"a char as unsigned", chr(-1), type_float, flt(255)},
        {"a short", i16(-7), type_float, flt(-7)},
        {"a ushort", u16(65535), type_float, flt(65535)},
        {"an int", i32(-2147483647 - 1), type_float, flt(-2147483648.0F)},
        {"a uint", u32(0xFFFFFFFF), type_float, flt(4294967296.0F)},
        {"a text", str9(" -1.5e2x"), type_float, flt(-150)},
        {"a text without end", str9("123456789"), type_float, flt(123456789.0F)},
        {"a text beyond a float's range", str9("1e300"), type_float, flt(kInf)},
        {"no text", str9(""), type_float, flt(0)},
    });
    EXPECT_TRUE(std::isnan(static_cast<float>(assigned(type_float, flt(kNan)).value.fl)));
}

TEST(SValAssign, ReadsTextsAsAtoiDoes) {
    check({
        {"leading blanks, trailing rubbish", str9("  12abc"), type_int, i32(12)},
        {"a sign", str17("-3"), type_short, i16(-3)},
        {"the low byte", str9("300"), type_char, chr(44)},
        {"no digits", str9("x1"), type_uchar, uch(0)},
        {"nine digits need no end", str9("987654321"), type_uint, u32(987654321)},
        {"the low 16 bits", str9("-1"), type_ushort, u16(0xFFFF)},
        {"17 digits end in an int's low bits", str17("12345678901234567"), type_int,
         i32(static_cast<std::int32_t>(12345678901234567 & 0xFFFFFFFF))},
        {"Cyrillic bytes are no digits", str9("\x80\x81"), type_int, i32(0)},
    });
}

TEST(SValAssign, MakesTexts) {
    check({
        {"a char as 0 to 255", chr(-1), type_str9, str9("255")},
        {"a short", i16(-1), type_str9, str9("-1")},
        {"a ushort", u16(65535), type_str17, str17("65535")},
        {"an int signed", i32(-2147483647 - 1), type_str17, str17("-2147483648")},
        {"a uint unsigned", u32(0xFFFFFFFF), type_str17, str17("4294967295")},
        {"cut at nine bytes", i32(-1234567890), type_str9, str9("-12345678")},
        {"a float truncated", flt(-2.9F), type_str9, str9("-2")},
        {"a float saturated", flt(1e20F), type_str17, str17("2147483647")},
        {"a text as it is", str9("\x80 9 bytes"), type_str9, str9("\x80 9 bytes")},
        {"its first nine bytes", str17("seventeen letters"), type_str9, str9("seventeen")},
        {"all seventeen", str17("seventeen letters"), type_str17, str17("seventeen letters")},
        {"the nine there are", str9("abc"), type_str17, str17("abc")},
    });
    SVal longer = str17("seventeen letters");
    longer = str9("nine byte");
    EXPECT_EQ(bytesOf(longer), bytesOf(str17("nine byte letters"))) << "the rest stays";
    SVal number = str17("seventeen letters");
    number = i16(5);
    EXPECT_EQ(bytesOf(number), bytesOf(str17("5"))) << "nothing of the former text stays";
}

TEST(SValAssign, TakesTheTypeOfItsSourceWhenItHasNone) {
    const SVal sources[] = {chr(200),
                            uch(1),
                            i16(-5),
                            u16(5),
                            i32(-6),
                            u32(6),
                            flt(.5),
                            str9("abcdefghi"),
                            str17("seventeen letters")};
    for (const SVal& from : sources) {
        SCOPED_TRACE(from.type_val + 0);
        EXPECT_EQ(bytesOf(assigned(none, from)), bytesOf(from));
    }
}

TEST(SValAssign, LeavesTheValueWhenTheSourceHasNoKnownType) {
    for (const int type : {0, 10, -1}) {
        SVal from = i32(77);
        from.type_val = static_cast<TYPE_VAL>(type);
        SVal to = i16(1234);
        to = from;
        EXPECT_EQ(bytesOf(to), bytesOf(i16(1234))) << type;
    }
    SVal self = i16(-9);
    const SVal& same = self;
    self = same;
    EXPECT_EQ(bytesOf(self), bytesOf(i16(-9)));
}

TEST(SVal, CopiesBytesAtConstructionAndBySet) {
    const SVal from = str17("seventeen letters");
    const SVal copy(from);
    EXPECT_EQ(bytesOf(copy), bytesOf(from));
    SVal set = flt(1);
    set.Set(from);
    EXPECT_EQ(bytesOf(set), bytesOf(from));
    set.Clear();
    EXPECT_EQ(bytesOf(set), bytesOf(SVal())) << "all zero";
    EXPECT_EQ(bytesOf(SVal()).find_first_not_of("0 "), std::string::npos);
}

}  // namespace
