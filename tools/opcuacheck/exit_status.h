#pragma once

namespace opcuacheck {

/// What the program answers to the shell; named in its --help.
enum ExitStatus : int {
    kClean = 0,
    kWarnings = 1,     ///< nothing but warnings
    kErrors = 2,       ///< at least one configuration error
    kNotReadable = 3,  ///< the configuration, or a file named beside it, cannot be read
    kBadUsage = 4,     ///< refused command line
};

}  // namespace opcuacheck
