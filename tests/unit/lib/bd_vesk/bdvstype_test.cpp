#include "lib/bd_vesk/bdvstype.h"

#include "tests/unit/lib/bd_vesk/values.h"

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
const float kSignallingNan = std::bit_cast<float>(0x7FA00001U);
constexpr float kInf = std::numeric_limits<float>::infinity();

TEST(SVal, ConvertsAsTheControllerDoes) {
    const struct {
        const char* why;
        SVal from;
        SVal want;  // of the type that is converted to
    } cases[] = {
        // Integers by their low bytes.
        {"a char goes over as the byte", chr(0x85), uch(0x85)},
        {"a short gives its low byte", i16(300), chr(44)},
        {"a char is read as unsigned into a short", chr(-1), i16(255)},
        {"and into a ushort", chr(-1), u16(255)},
        {"and into an int", chr(-128), i32(128)},
        {"an int gives its low 16 bits", i32(0x12348765), i16(0x8765 - 0x10000)},
        {"a short is sign-extended into an int", i16(-2), i32(-2)},
        {"and into a uint", i16(-2), u32(0xFFFFFFFE)},
        {"a ushort is zero-extended", u16(0xFFFE), i32(0xFFFE)},
        // Floats are truncated and saturate at 32 bits.
        {"truncated toward zero", flt(2.9F), i16(2)},
        {"a negative float gives 0 in a char", flt(-1.5F), chr(0)},
        {"a char takes the low byte", flt(300.7F), chr(44)},
        {"of the saturated number", flt(1e10F), uch(255)},
        {"a short the low 16 bits", flt(70000.0F), i16(70000 - 65536)},
        {"of the saturated number", flt(1e10F), i16(-1)},
        {"a ushort goes up to 32 bits unsigned", flt(3e9F), u16(0x5E00)},
        {"an int saturates above", flt(2147483648.0F), i32(2147483647)},
        {"just below it is exact", flt(2147483520.0F), i32(2147483520)},
        {"an int saturates below", flt(-kInf), i32(-2147483647 - 1)},
        {"a uint saturates above", flt(4294967296.0F), u32(0xFFFFFFFF)},
        {"what is no number gives 0", flt(kNan), i32(0)},
        {"a signalling one stays so", flt(kSignallingNan), flt(kSignallingNan)},
        // To floats.
        {"an int", i32(-2147483647 - 1), flt(-2147483648.0F)},
        {"a uint", u32(0xFFFFFFFF), flt(4294967296.0F)},
        {"a text", str9(" -1.5e2x"), flt(-150)},
        {"a text without end", str9("123456789"), flt(123456789.0F)},
        // Texts are read as atoi does.
        {"leading blanks, trailing rubbish", str9("  12abc"), i32(12)},
        {"the low byte", str9("300"), chr(44)},
        {"17 digits end in an int's low bits", str17("12345678901234567"), i32(12345678901234567)},
        // To texts.
        {"a char as 0 to 255", chr(-1), str9("255")},
        {"a short", i16(-1), str9("-1")},
        {"a uint unsigned", u32(0xFFFFFFFF), str17("4294967295")},
        {"cut at nine bytes", i32(-1234567890), str9("-12345678")},
        {"a float truncated", flt(-2.9F), str9("-2")},
        {"a float saturated", flt(1e20F), str17("2147483647")},
        {"a text as it is", str9("\x80 9 bytes"), str9("\x80 9 bytes")},
        {"all seventeen", str17("seventeen letters"), str17("seventeen letters")},
        {"the nine there are", str9("abc"), str17("abc")},
    };
    for (const auto& c : cases) {
        SVal converted(c.want.type_val);
        converted = c.from;
        EXPECT_EQ(converted, c.want) << c.why;
        SVal untyped;
        untyped = c.from;
        EXPECT_EQ(untyped, c.from) << "without a type it takes that of its source";
    }
}

TEST(SVal, KeepsWhatAnAssignmentDoesNotReach) {
    SVal value = str17("seventeen letters");
    value = str9("nine byte");
    EXPECT_EQ(value, str17("nine byte letters")) << "the rest stays";
    value = i16(5);
    EXPECT_EQ(value, str17("5")) << "nothing of the former text stays";
    for (const int type : {0, 10, -1}) {
        SVal unknown = i32(77);
        unknown.type_val = static_cast<TYPE_VAL>(type);
        value = unknown;
        EXPECT_EQ(value, str17("5")) << type;
    }
    value.Set(flt(1));
    EXPECT_EQ(value, flt(1)) << "without conversion";
    value.Clear();
    EXPECT_EQ(value, SVal());
}
