#pragma once

namespace tools::opcuacheck {

/// Parses the command line, checks the file and prints to standard output; errors that prevent this
/// go to standard error. @return an ExitStatus
int runProgram(int argc, const char* const* argv);

}  // namespace tools::opcuacheck
