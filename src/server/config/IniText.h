#pragma once

#include <string>
#include <string_view>

// How the reader of ini files treats text: what it skips, and which names it considers equal.

/// The characters that it removes at both ends of names and values.
inline constexpr std::string_view kIniBlanks = " \t\r\n";

[[nodiscard]] std::string_view withoutLeading(std::string_view text, std::string_view skipped);
[[nodiscard]] std::string_view withoutTrailing(std::string_view text, std::string_view skipped);
/// The text without kIniBlanks at both ends.
[[nodiscard]] std::string_view withoutBlanks(std::string_view text);

/// The text with Latin letters in lower case; Cyrillic letters keep their case. The reader
/// considers names equal whose lowered texts are equal.
[[nodiscard]] std::string lowered(std::string_view text);
