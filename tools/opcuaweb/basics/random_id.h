#pragma once

#include <string>

namespace tools::opcuaweb {

/// 32 hexadecimal digits that nobody can guess.
[[nodiscard]] std::string randomId();

}  // namespace tools::opcuaweb
