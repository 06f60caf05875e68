#pragma once

#include <open62541/types.h>

#include <string>

/// OPC UA values as an operator reads them. Every result is safe to print on a terminal.
namespace tools {

/// "—" for an empty variant; numbers with at most seven significant digits (a float has no more);
/// arrays as "[1, 2, 3, …] (65)" with at most eight elements; of structures and byte strings the
/// first 200 columns.
[[nodiscard]] std::string formatValue(const UA_Variant& value);

/// A scalar number or Boolean (0 or 1); NaN for everything else.
[[nodiscard]] double numberOf(const UA_Variant& value);

/// Whether the value should be right-aligned.
[[nodiscard]] bool isNumber(const UA_Variant& value);

/// "Good", "Uncertain" or "Bad" for the plain qualities, otherwise the code's name
/// ("BadNotReadable"), or its digits if it has none.
[[nodiscard]] std::string formatQuality(UA_StatusCode status);

/// Local time with milliseconds, "2026-11-21 12:33:10.123". `time` counts 100 ns ticks since 1601.
[[nodiscard]] std::string formatTime(UA_DateTime time);

}  // namespace tools
