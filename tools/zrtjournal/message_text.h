#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "lib/rolling2/rol_mes.h"

// What a message says, in UTF-8.
namespace tools::zrtjournal {

/// A text of the controller as UTF-8, on one line. The OPC UA server posts one of its messages
/// (attributes that the database lacks) in UTF-8 instead of CP866; such a text is not converted.
[[nodiscard]] std::string readable(const std::string& bytes);

/// The message's text in Russian; nothing for codes whose texts are only in the controller's
/// dictionaries.
[[nodiscard]] std::optional<std::string> russianText(const SRolMessage& message);
[[nodiscard]] std::optional<std::string> englishText(const SRolMessage& message);

/// "VA 7", empty without a variable.
[[nodiscard]] std::string variableName(const SRolMessage& message);

/// The arguments as text: texts in quotation marks, "?" for one that cannot be read.
[[nodiscard]] std::string argumentList(const SRolMessage& message);
/// The arguments as a JSON array; null for one that cannot be read.
[[nodiscard]] nlohmann::ordered_json argumentsJson(const SRolMessage& message);

}  // namespace tools::zrtjournal
