#pragma once

#include "tools/command_line/reader.h"

namespace tools::zrtjournal {

/// The whole program. @return exit status
[[nodiscard]] int runProgram(int argc, const char* const* argv);

/// Shows `reader` the command line.
void describe(Language language, const CommandLineReader& reader);

}  // namespace tools::zrtjournal
