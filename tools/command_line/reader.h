#pragma once

#include <functional>

#include "tools/text/language.h"

namespace CLI {
class App;
}

namespace tools {

/// Looks at a program's command line, of which nothing is parsed: its names, options and texts.
using CommandLineReader = std::function<void(const CLI::App&)>;

}  // namespace tools
