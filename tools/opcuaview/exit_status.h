#pragma once

namespace opcuaview {

/// What the program answers to the shell; named in its --help.
enum ExitStatus : int {
    kDone = 0,            ///< at least one value came
    kNoValue = 1,         ///< connected, but no value came
    kBadUsage = 2,        ///< refused command line
    kCannotConnect = 3,   ///< no connection within --wait
    kConnectionLost = 4,  ///< the connection broke and did not come back within --wait
    kIncomplete = 5       ///< a history was not read to its end
};

}  // namespace opcuaview
