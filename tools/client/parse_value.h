#pragma once

#include <open62541/types.h>

#include <optional>
#include <string>

#include "server/opcua/UaHandle.h"
#include "tools/text/language.h"

namespace tools {

/// A time such as "2026-11-21", "2026-11-21 12:33", "... 12:33:10" or "... 12:33:10.123": local, or
/// UTC with a "Z" after it. A "T" may replace the blank.
[[nodiscard]] std::optional<UA_DateTime> parseTime(const std::string& text);

/// What a text is as a value of an OPC UA type, for a write.
///
/// Numbers must fit the type; those with a fraction may have a decimal comma. Booleans are true,
/// false, да, нет, 1 or 0. Times are as `parseTime` reads them. An array is written as JSON,
/// "[1, 2.5]".
/// @param value  set only on success
/// @return why the text is no such value, in the given language; empty if it is one
[[nodiscard]] std::string parseValue(const std::string& text, const UA_DataType& type, bool array,
                                     Language language, OwnedVariant& value);

}  // namespace tools
