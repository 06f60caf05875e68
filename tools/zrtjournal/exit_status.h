#pragma once

namespace tools::zrtjournal {

/// The program's exit status, described in its --help.
enum ExitStatus : int {
    kShown = 0,      ///< even if no message was selected
    kDamaged = 1,    ///< --files: shown, but a copy is damaged
    kBadUsage = 2,   ///< invalid command line
    kNoJournal = 3,  ///< no journal in memory, or no readable copy
};

}  // namespace tools::zrtjournal
