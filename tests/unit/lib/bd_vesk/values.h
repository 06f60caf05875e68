#pragma once

#include "lib/bd_vesk/bdvstype.h"
#include "tests/support/basics.h"

// Values of the database, made from and compared by their bytes.

template <class T, TYPE_VAL Type>
SVal make(auto scalar) {
    SVal val(Type);
    const T value = static_cast<T>(scalar);
    std::memcpy(reinterpret_cast<std::uint8_t*>(&val) + 4, &value, sizeof(T));
    return val;
}
template <TYPE_VAL Type>
SVal text(const std::string& value) {
    SVal val(Type);
    std::memcpy(reinterpret_cast<std::uint8_t*>(&val) + 4, value.data(), value.size());
    return val;
}
// NOLINTBEGIN(readability-identifier-naming): called as functions
inline constexpr auto chr = make<std::uint8_t, type_char, int>;
inline constexpr auto uch = make<std::uint8_t, type_uchar, int>;
inline constexpr auto i16 = make<std::int16_t, type_short, int>;
inline constexpr auto u16 = make<std::uint16_t, type_ushort, int>;
inline constexpr auto i32 = make<std::int32_t, type_int, std::int64_t>;
inline constexpr auto u32 = make<std::uint32_t, type_uint, std::int64_t>;
inline constexpr auto flt = make<float, type_float, float>;
inline constexpr auto str9 = text<type_str9>;
inline constexpr auto str17 = text<type_str17>;
// NOLINTEND(readability-identifier-naming)

/// All 21 bytes, so that nothing beside the value hides.
inline bool operator==(const SVal& a, const SVal& b) {
    const auto bytes = [](const SVal& val) {
        return std::string_view(reinterpret_cast<const char*>(&val), sizeof(val));
    };
    return bytes(a) == bytes(b);
}
