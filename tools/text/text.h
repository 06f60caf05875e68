#pragma once

#include <string>
#include <string_view>

/// Text on a terminal: widths are counted in columns, not in bytes. All texts are UTF-8.
namespace tools {

enum class Align { left, right };

/// Columns that the text takes: a combining mark none, an East Asian wide character two.
[[nodiscard]] int displayWidth(std::string_view text);

/// The text without anything that would disturb a terminal: a control character (a server's string
/// may contain escape sequences) becomes '?', a malformed byte U+FFFD.
[[nodiscard]] std::string printable(std::string_view text);

/// The text in exactly `width` columns: padded with blanks, or cut with "…" at its end.
[[nodiscard]] std::string fitted(std::string_view text, int width, Align align = Align::left);

/// The text in lower case, including Cyrillic letters, for a comparison that ignores case.
[[nodiscard]] std::string lowered(std::string_view text);

}  // namespace tools
