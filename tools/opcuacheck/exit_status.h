#pragma once

namespace tools::opcuacheck {

/// The program's exit status, described in its --help.
enum ExitStatus : int {
    kClean = 0,
    kWarnings = 1,     ///< only warnings
    kErrors = 2,       ///< at least one configuration error
    kNotReadable = 3,  ///< the configuration, or another named file, cannot be read
    kBadUsage = 4,     ///< invalid command line
};

}  // namespace tools::opcuacheck
