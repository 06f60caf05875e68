#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace opcuacheck {

/// The candidate that a misspelled name most likely stands for: equal but for case, or a few
/// letters off. Empty when none is near. All in one encoding of one byte per character.
[[nodiscard]] std::string nearest(std::string_view name,
                                  const std::vector<std::string>& candidates);

}  // namespace opcuacheck
