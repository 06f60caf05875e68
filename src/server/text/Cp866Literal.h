#pragma once

#include <cstddef>
#include <string>

/// A text of the UTF-8 sources as CP866 bytes: "ЦП "_cp866. A character that CP866 lacks becomes
/// "?", as in every conversion.
[[nodiscard]] std::string operator""_cp866(const char* utf8, std::size_t length);
