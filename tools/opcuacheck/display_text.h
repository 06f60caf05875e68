#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "server/config/ConfigFile.h"

namespace tools::opcuacheck {

/// CP866 as UTF-8, control characters shown as blanks.
[[nodiscard]] std::string shown(std::string_view cp866);

/// A line of the configuration, shown; empty for one that does not exist or that the reader never
/// sees.
[[nodiscard]] std::string shownLine(const ConfigFile& file, std::int32_t line);

}  // namespace tools::opcuacheck
