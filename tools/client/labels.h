#pragma once

#include <open62541/types.h>

#include <string>
#include <string_view>

/// Texts of the plant among a server's variables.
namespace tools {

/// What a text beside a variable states about the tag to which both belong.
enum class Label { none, designation, name, unit };

/// By the display name, ignoring case and digits at its end: "Позиция", "Имя1", "Unit".
[[nodiscard]] Label labelOf(std::string_view displayName);

/// The text without blanks at its ends, which texts of fixed length have; of EUInformation (OPC 10000-8,
/// 5.6.3) the display name. Printable; empty for a value that is no text.
[[nodiscard]] std::string plantText(const UA_DataValue& data);

}  // namespace tools
