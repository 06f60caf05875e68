#pragma once

namespace tools::opcuaview {

/// The program's exit status, described in its --help.
enum ExitStatus : int {
    kDone = 0,            ///< at least one value was received
    kNoValue = 1,         ///< connected, but no value was received
    kBadUsage = 2,        ///< invalid command line
    kCannotConnect = 3,   ///< no connection within --wait
    kConnectionLost = 4,  ///< the connection was lost and not restored within --wait
    kIncomplete = 5       ///< a history was not read to its end
};

}  // namespace tools::opcuaview
