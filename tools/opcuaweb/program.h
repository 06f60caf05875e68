#pragma once

namespace tools::opcuaweb {

/// The whole program: serves until SIGINT or SIGTERM. @return an ExitStatus
[[nodiscard]] int runProgram(int argc, const char* const* argv);

}  // namespace tools::opcuaweb
