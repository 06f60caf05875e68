#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "lib/bd_vesk/layout.h"
#include "lib/bd_vesk/passports.h"
#include "lib/util/bool16.h"

// Addresses and values of the real-time database. Spellings are those of the controller's other
// code.

/// Database type codes, used in SVariable::type and in the database process's messages.
enum DB_TYPE : std::uint8_t {
    DB_VA = 1,  // analog input
    DB_AV = 2,  // analog output
    DB_HI = 3,  // manual input
    DB_DI = 4,  // discrete input
    DB_DO = 5,  // discrete output
    DB_TH = 6,  // 6 to 11: plain arrays of values without passports
    DB_TM = 7,
    DB_TS = 8,
    DB_FV = 9,
    DB_IV = 10,
    DB_LV = 11,
};

inline constexpr int kTypeCount = 11;          // DB_VA to DB_LV
inline constexpr int kDescribedTypeCount = 5;  // DB_VA to DB_DO have passports and attributes

/// Type of a value, SVal's tag.
enum TYPE_VAL : std::int32_t {
    none = 0,
    type_char = 1,
    type_uchar = 2,
    type_short = 3,
    type_ushort = 4,
    type_int = 5,
    type_uint = 6,
    type_float = 7,
    type_str9 = 8,
    type_str17 = 9,
};

/// What the bytes of a value are. SVal::operator= converts one form into another.
enum class ValueForm : std::uint8_t { nothing, signedInteger, unsignedInteger, real, text };

/// What there is to know of a value type. Numbers have 1, 2, 4 or 8 bytes, texts up to 17.
struct ValueType {
    TYPE_VAL type;
    std::size_t size;  // bytes
    ValueForm form;
};

// clang-format off
inline constexpr auto kValueTypes = std::to_array<ValueType>({
    {none,        0, ValueForm::nothing},
    // KEPT: a char is read as unsigned, so -1 counts as 255. Required by the interface.
    {type_char,   1, ValueForm::unsignedInteger},
    {type_uchar,  1, ValueForm::unsignedInteger},
    {type_short,  2, ValueForm::signedInteger},
    {type_ushort, 2, ValueForm::unsignedInteger},
    {type_int,    4, ValueForm::signedInteger},
    {type_uint,   4, ValueForm::unsignedInteger},
    {type_float,  4, ValueForm::real},
    {type_str9,   9, ValueForm::text},
    {type_str17, 17, ValueForm::text},
});
// clang-format on

[[nodiscard]] constexpr bool valueTypesInOrder() {
    for (std::size_t i = 0; i < kValueTypes.size(); ++i)
        if (kValueTypes[i].type != static_cast<TYPE_VAL>(i)) return false;
    return true;
}
static_assert(valueTypesInOrder(), "kValueTypes is indexed by TYPE_VAL");

/// The row of a value type; that of `none` for a number that is no type.
[[nodiscard]] constexpr const ValueType& valueTypeRow(TYPE_VAL type) {
    const auto index = static_cast<std::size_t>(type);
    return index < kValueTypes.size() ? kValueTypes[index] : kValueTypes[none];
}

/// Bytes of a value.
[[nodiscard]] constexpr std::size_t valueSize(TYPE_VAL type) {
    return valueTypeRow(type).size;
}

#pragma pack(push, 1)

/// Address of one value of the database.
struct SVariable {
    std::uint8_t type;      // 0  DB_TYPE
    std::uint16_t num;      // 1  variable within its type, from 1
    std::uint16_t num_atr;  // 3  0 the current value, from 1 a passport attribute
};

/// The bytes of a value; all zero when new. SVal::type_val says which member is valid.
union UTypeValue {
    char ch;  // read as unsigned, whatever the compiler's plain char is
    std::uint8_t uch;
    std::int16_t sh;
    std::uint16_t ush;
    std::int32_t i;
    std::uint32_t ui;
    float fl;
    char str9[9];         // CP866, NUL-terminated when shorter
    char str17[17] = {};  // CP866, NUL-terminated when shorter
};

/// A value with its type. Copy construction copies the bytes; assignment converts (see operator=).
/// Fields lie unaligned: read them by value, never bind a reference to them.
struct SVal {
    TYPE_VAL type_val = none;  // 0
    UTypeValue value;          // 4

    SVal() = default;
    explicit SVal(TYPE_VAL type) : type_val(type) {}
    SVal(const SVal& src) = default;
    ~SVal() = default;

    /// Converts `src` into this value's type; a value of type `none` takes the type of `src` first.
    ///
    /// To a narrower integer the low bytes remain. A float is truncated toward zero, saturates at
    /// the limits of 32 bits (unsigned for char, uchar, ushort and uint, so that negative floats
    /// give 0 there; signed otherwise) and gives 0 when it is not a number. Texts are read as atoi
    /// and atof read them; a number becomes decimal text, cut at the field's 9 or 17 bytes and
    /// zero-filled. A source of unknown type leaves the value unchanged.
    SVal& operator=(const SVal& src);

    /// Copies the type and all 17 bytes without conversion.
    void Set(const SVal& src) {
        type_val = src.type_val;
        value = src.value;
    }

    void Clear() {
        type_val = none;
        value = UTypeValue();
    }
};

#pragma pack(pop)

/// Smallest change of a current value that CVeskBDSh::getChangeVal reports, in the variable's unit.
struct SApertures {
    float aperture_VA = 0;
    float aperture_AV = 0;
    float aperture_HI = 0;
};

VESK_SIZE(SVariable, 5);
VESK_FIELD(SVariable, num, 1);
VESK_FIELD(SVariable, num_atr, 3);
static_assert(std::is_trivially_copyable_v<SVariable>);

VESK_SIZE(TYPE_VAL, 4);
VESK_SIZE(UTypeValue, 17);
VESK_SIZE(SVal, 21);
VESK_FIELD(SVal, value, 4);
static_assert(std::is_trivially_copyable_v<UTypeValue>);
