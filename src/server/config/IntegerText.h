#pragma once

#include <cstdint>
#include <optional>
#include <string>

// Decimal integers in names and values of the configuration, as a C++ stream reads them: an
// optional sign, digits, and no integer when it does not fit into 32 bits.

enum class LeadingBlanks { skipped, refused };

/// Does the text begin with an integer? Blanks may stand before it, anything behind it.
[[nodiscard]] bool startsWithInteger(const std::string& text);

/// The integer that the whole text is, if it is one.
[[nodiscard]] std::optional<std::int32_t> wholeInteger(const std::string& text,
                                                       LeadingBlanks leading);
