#pragma once

#include <cstddef>
#include <cstdint>

/// Result of a call of the trend library: 0 is success, errors are negative. A 32-bit signed
/// integer on every platform, because the library's symbols encode it as `int`.
using HRESULT = int;
static_assert(sizeof(HRESULT) == 4);

/// The subject of a call: a pen, or a plotter when the pen is 0. Both count from 1.
struct OPCHDAITEMDEF {
    std::uint32_t plotterNum;
    std::uint32_t penNum;
};
static_assert(sizeof(OPCHDAITEMDEF) == 8);

/// Type codes of archived values and of pens, a selection of the OLE VARIANT types.
namespace jxo {
inline constexpr std::int16_t kVtInteger = 3;
inline constexpr std::int16_t kVtFloat = 4;
inline constexpr std::int16_t kVtDouble = 5;
inline constexpr std::int16_t kVtBoolean = 11;
}  // namespace jxo

/// One archived value, in the memory layout that the library and its callers share.
struct OPCHDAITEMVALUE {
    union Value {
        float number;          // kVtFloat; kVtInteger too: the library keeps integers as floats
        double wide;           // kVtDouble
        std::int16_t boolean;  // kVtBoolean: 0 is false
    };

    std::uint16_t vt;           //  0  type code
    std::uint16_t reserved[3];  //  2
    Value value;                //  8
    std::int64_t seconds;       // 16  since 1970-01-01 UTC
    std::int64_t microseconds;  // 24  0 to 999999
    std::uint32_t quality;      // 32  OPC DA quality word
    std::uint32_t padding;      // 36
};
static_assert(sizeof(OPCHDAITEMVALUE) == 40);
static_assert(offsetof(OPCHDAITEMVALUE, value) == 8);
static_assert(offsetof(OPCHDAITEMVALUE, seconds) == 16);
static_assert(offsetof(OPCHDAITEMVALUE, microseconds) == 24);
static_assert(offsetof(OPCHDAITEMVALUE, quality) == 32);

/// Answer for one item of a raw read.
struct OPCHDAITEM {
    std::uint32_t count;      // 0  values that follow
    OPCHDAITEMVALUE* values;  // 8  allocated with new[]
};
static_assert(sizeof(OPCHDAITEM) == 16 && offsetof(OPCHDAITEM, values) == 8);
