#pragma once

namespace tools::zrtjournal {

/// The whole program. @return exit status
[[nodiscard]] int runProgram(int argc, const char* const* argv);

}  // namespace tools::zrtjournal
