#pragma once

#include <cstdint>
#include <optional>
#include <string>

// Decimal integers in names and values of the configuration, as a C++ stream reads them: an
// optional sign and digits. A number that does not fit into 32 bits is not an integer.

enum class LeadingBlanks { skipped, refused };

/// Whether the text begins with an integer. Blanks may precede it, and anything may follow.
[[nodiscard]] bool startsWithInteger(const std::string& text);

/// The integer that the whole text is, if it is one.
[[nodiscard]] std::optional<std::int32_t> wholeInteger(const std::string& text,
                                                       LeadingBlanks leading);
