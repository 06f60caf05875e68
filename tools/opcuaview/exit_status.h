#pragma once

namespace tools::opcuaview {

/// The program's exit status, described in its --help.
enum ExitStatus : int {
    kDone = 0,            ///< at least one value was received
    kNoValue = 1,         ///< connected, but no value was received
    kBadUsage = 2,        ///< invalid command line
    kCannotConnect = 3,   ///< no connection within --wait
    kConnectionLost = 4,  ///< the connection was lost and not restored within --wait
    kIncomplete = 5,      ///< a history or a tree was not read to its end
    kNotWritten =
        6  ///< the server has another value than the one to be written, or no plot was written
};

/// What monitoring systems expect of their checks.
enum CheckStatus : int { kOk = 0, kWarning = 1, kCritical = 2, kUnknown = 3 };

}  // namespace tools::opcuaview
