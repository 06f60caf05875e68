#pragma once

#include <cstddef>
#include <string>

/// A text of the UTF-8 sources as the CP866 bytes in which the controller keeps it: "ЦП "_cp866.
/// A character that CP866 lacks shows as "?", as for every conversion.
[[nodiscard]] std::string operator""_cp866(const char* utf8, std::size_t length);
