#pragma once

#include <string>
#include <string_view>

// How the reader of ini files looks at text: what it skips, and which names it takes for the same.

/// What it removes at both ends of names and values.
inline constexpr std::string_view kIniBlanks = " \t\r\n";

[[nodiscard]] std::string_view withoutLeading(std::string_view text, std::string_view skipped);
[[nodiscard]] std::string_view withoutTrailing(std::string_view text, std::string_view skipped);
/// Without kIniBlanks at both ends.
[[nodiscard]] std::string_view withoutBlanks(std::string_view text);

/// With the Latin capitals made small: names that are equal then are one name to the reader.
/// Cyrillic letters keep their case.
[[nodiscard]] std::string lowered(std::string_view text);
