#pragma once

#include <open62541/types.h>

#include <cstdint>
#include <string>

#include "tools/client/session.h"
#include "tools/opcuaweb/basics/json.h"

/// OPC UA values as the page gets them.
namespace tools::opcuaweb {

/// ms since 1970; the library counts 100 ns since 1601.
[[nodiscard]] std::int64_t unixMs(UA_DateTime time);
[[nodiscard]] UA_DateTime fromUnixMs(std::int64_t ms);

/// False for the standard's "no time", and for times before the year 1601, which no clock shows.
[[nodiscard]] bool isTime(UA_DateTime time);

/// The id as it is, control characters included, so that `parseId` gives the same node again.
[[nodiscard]] std::string exactId(const UA_NodeId& id);
/// @return false if the text is no node id; `id` is empty then
[[nodiscard]] bool parseId(const std::string& text, NodeId& id);

/// The number by the seven digits that a float holds: as a double, 0.1 would have sixteen.
[[nodiscard]] double shortened(float number);

/// The text, or its beginning and "…" if it has more bytes.
[[nodiscard]] std::string shortText(std::string text, std::size_t mostBytes);

/// A number, text or truth value; null for an empty variant. Text for what JSON has no form of: arrays,
/// structures, numbers that are not finite, integers that JavaScript would round. A long text is cut, see limits.h.
[[nodiscard]] Json shownValue(const UA_Variant& value);

/// 0 good, 1 uncertain, 2 bad
[[nodiscard]] int qualityOf(UA_StatusCode status);

/// [id, value, quality, time] and the status' name unless it is Good.
[[nodiscard]] Json cellOf(const std::string& id, const UA_DataValue& value);
/// A node that has no value because of `status`.
[[nodiscard]] Json emptyCell(const std::string& id, UA_StatusCode status);

}  // namespace tools::opcuaweb
