#pragma once

#include <string>

/// The text before its first ":" or ";", so that a comment may follow a value on its line. Blanks
/// before the cut stay; a caller that needs a clean value trims it.
[[nodiscard]] std::string TrimString(const std::string& value);
