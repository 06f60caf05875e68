#pragma once

#include <string>
#include <string_view>

/// A text as a JSON string, with its quotation marks.
/// @param utf8  well-formed; control characters are escaped
[[nodiscard]] std::string jsonText(std::string_view utf8);
