#pragma once

#include <string>

/// Cuts off a comment: the result is the text before its first ":" or ";". Despite its name it
/// trims nothing: blanks before the cut stay.
[[nodiscard]] std::string TrimString(const std::string& value);
