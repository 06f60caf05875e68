#pragma once

#include "tools/command_line/reader.h"

namespace tools::opcuacheck {

/// Parses the command line, checks the file and prints to standard output; errors that prevent this
/// go to standard error. @return an ExitStatus
int runProgram(int argc, const char* const* argv);

/// Shows `reader` the command line.
void describe(Language language, const CommandLineReader& reader);

}  // namespace tools::opcuacheck
