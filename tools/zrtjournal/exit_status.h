#pragma once

namespace zrtjournal {

/// What the program answers to the shell; named in its --help.
enum ExitStatus : int {
    kShown = 0,      ///< also when no message was chosen
    kDamaged = 1,    ///< --files: shown, but a copy is damaged
    kBadUsage = 2,   ///< refused command line
    kNoJournal = 3,  ///< no journal in memory, or no copy of which anything can be read
};

}  // namespace zrtjournal
