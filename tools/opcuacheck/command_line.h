#pragma once

namespace opcuacheck {

/// Parses the command line, checks the file and prints to standard output; what keeps it from that
/// goes to standard error. @return an ExitStatus
int runProgram(int argc, const char* const* argv);

}  // namespace opcuacheck
