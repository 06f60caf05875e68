#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tools::opcuacheck {

/// The candidate that a misspelled name most likely means: equal except for case, or different in a
/// few letters. Empty if there is none. All texts use the same single-byte encoding.
[[nodiscard]] std::string nearest(std::string_view name,
                                  const std::vector<std::string>& candidates);

}  // namespace tools::opcuacheck
