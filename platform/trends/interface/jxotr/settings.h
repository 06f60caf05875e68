#pragma once

#include <cstddef>
#include <cstdint>

// The library's records of its configuration, as far as their fields are known. The real records
// are longer: callers only get pointers to the library's own and must neither copy nor make one.

namespace jxo {

/// The trend system as a whole.
struct CTrendsControlSettingsExt {
    std::byte unknown[40];
    std::uint64_t plotterCount;  // 40  plotters are numbered 1 to this
};
static_assert(offsetof(CTrendsControlSettingsExt, plotterCount) == 40);

/// One plotter: a recorder with some pens.
struct CPlotterSettingsExt {
    std::byte unknown[112];
    std::uint64_t penCount;  // 112  pens are numbered 1 to this
};
static_assert(offsetof(CPlotterSettingsExt, penCount) == 112);

/// One pen: the variable that it records.
struct CPenSettingsExt {
    std::byte unknown[10];
    std::int16_t valueType;     // 10  type code of its values, see opchda.h
    std::byte unknown2[4];      // 12
    std::int32_t variableKind;  // 16  0 VA, 1 AV, 2 RV, 3 VD, 4 DV
    std::uint16_t variableNum;  // 20  number of the variable in the database, from 1
};
static_assert(offsetof(CPenSettingsExt, valueType) == 10);
static_assert(offsetof(CPenSettingsExt, variableKind) == 16);
static_assert(offsetof(CPenSettingsExt, variableNum) == 20);

}  // namespace jxo
