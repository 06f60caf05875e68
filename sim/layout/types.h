#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

// The tables of the controller's real-time database in the simulated controller. Every number here
// is taken from the controller's memory map and shared with no other part of this project: a
// reader's wrong offset must show as a wrong value and not cancel out.

namespace sim {

/// Type codes of the database; the value is the code that the type query reports.
enum class TypeCode : std::uint8_t { VA = 1, AV, HI, DI, DO, TH, TM, TS, FV, IV, LV };

inline constexpr std::size_t kTypeCount = 11;

/// The first five types have a passport record, a time-quality-flags record and attributes.
inline constexpr std::size_t kMainTypeCount = 5;

constexpr std::size_t indexOf(TypeCode type) {
    return static_cast<std::size_t>(type) - 1;
}

/// One array of a type in shared memory; with size 0 the type has no such array.
struct ArrayLayout {
    int ipcIndex;
    std::uint32_t elementSize;  // bytes
};

/// The arrays of a type. For the types without records the value array is the whole type.
struct TypeLayout {
    TypeCode type;
    std::string_view name;
    ArrayLayout passport;
    ArrayLayout data;   // current data: raw, written by clients
    ArrayLayout value;  // current value: processed, read by clients
};

// clang-format off
inline constexpr std::array<TypeLayout, kTypeCount> kTypes{{
    {TypeCode::VA, "VA", {10, 114}, {11, 4}, {12, 4}},
    {TypeCode::AV, "AV", {13, 204}, { 0, 0}, { 0, 0}},  // both values are the field IM
    {TypeCode::HI, "HI", {14,  48}, { 0, 0}, {15, 4}},  // one array serves as data and value
    {TypeCode::DI, "DI", {16,  56}, {17, 1}, {18, 1}},
    {TypeCode::DO, "DO", {19,  58}, {20, 1}, {21, 1}},
    {TypeCode::TH, "TH", { 0,   0}, { 0, 0}, {22, 4}},
    {TypeCode::TM, "TM", { 0,   0}, { 0, 0}, {23, 4}},
    {TypeCode::TS, "TS", { 0,   0}, { 0, 0}, {24, 4}},
    {TypeCode::FV, "FV", { 0,   0}, { 0, 0}, {25, 4}},
    {TypeCode::IV, "IV", { 0,   0}, { 0, 0}, {26, 2}},
    {TypeCode::LV, "LV", { 0,   0}, { 0, 0}, {27, 1}},
}};
// clang-format on

constexpr bool typesInCodeOrder() {
    for (std::size_t i = 0; i < kTypeCount; ++i) {
        if (indexOf(kTypes[i].type) != i) return false;
    }
    return true;
}
static_assert(typesInCodeOrder(), "kTypes is indexed by the type code");

/// The types with records.
inline constexpr auto kMainTypes = std::span(kTypes).first<kMainTypeCount>();

constexpr const TypeLayout& layoutOf(TypeCode type) {
    return kTypes[indexOf(type)];
}

/// IPC indices beside the arrays of the types.
inline constexpr int kRegistryIndex = 0;
inline constexpr int kGenerationIndex = 48;
inline constexpr int kCountsIndex = 59;
inline constexpr int kTimeQualityIndex = 85;

/// The counts table: 13 words of which the first five count the main types.
inline constexpr std::size_t kCountsSize = 26;

/// One record of the time-quality-flags table, for every variable of the main types in type order.
struct TimeQualityLayout {
    static constexpr std::size_t kSeconds = 0;       // int64
    static constexpr std::size_t kMicroseconds = 8;  // int64
    static constexpr std::size_t kQuality = 16;      // uint32, OPC DA quality in the low byte
    static constexpr std::size_t kFlags = 20;        // uint32
    static constexpr std::size_t kSize = 24;
};

}  // namespace sim
