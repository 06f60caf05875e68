#pragma once

#include <cstddef>
#include <vector>

namespace tools {

/// Distributes `limit` places as evenly as possible over groups of the given sizes: no group gets
/// more than its size, and what a small group leaves goes to the others, beginning with the first.
[[nodiscard]] std::vector<std::size_t> fairShares(const std::vector<std::size_t>& sizes,
                                                  std::size_t limit);

}  // namespace tools
