#pragma once

#include <open62541/types.h>

#include <nlohmann/json.hpp>
#include <string>

/// OPC UA values as other programs read them.
namespace tools {

/// Keeps the order in which members were added.
using Json = nlohmann::ordered_json;

/// Numbers, Booleans and texts as such (null for infinity and NaN), times as `isoTime` writes them,
/// arrays as arrays (of several dimensions in one row), null for an empty value, and everything else
/// as the text that `formatValue` shows.
[[nodiscard]] Json jsonOf(const UA_Variant& value);

/// "2026-11-21T12:33:10.123456Z": UTC with microseconds. `time` counts 100 ns ticks since 1601.
[[nodiscard]] std::string isoTime(UA_DateTime time);

/// One line without a line feed. Malformed UTF-8 becomes U+FFFD.
[[nodiscard]] std::string jsonLine(const Json& json);

/// The text's value; discarded if it is malformed or nested deeper than `mostDepth` (a list of numbers: 1). The
/// JSON library copies and prints values recursively, so that deep ones would exhaust the stack.
[[nodiscard]] Json parsedJson(const std::string& text, int mostDepth);

}  // namespace tools
