#pragma once

#include <optional>
#include <string>

#include "tools/command_line/reader.h"
#include "tools/opcuacheck/database.h"
#include "tools/opcuaweb/http/addresses.h"
#include "tools/text/language.h"

namespace tools::opcuaweb {

/// The program's exit status, described in its --help.
enum ExitStatus : int {
    kStopped = 0,       ///< by a signal
    kCannotListen = 1,  ///< the address is taken or not this machine's
    kBadUsage = 2,      ///< invalid command line, or a file that it names cannot be used
};

struct Options {
    std::string url;
    ListenAddress listen;
    bool journal = false;
    std::string config;    ///< path of the configuration; empty: not shown
    std::string settings;  ///< folder of the controller's settings
    bool allowWrites = false;
    std::string passwordFile;
    Language language = Language::ru;

    opcuacheck::Database database;  ///< what is known for checking the configuration
};

/// Parses the command line, and prints help or refusal.
/// @return the exit status, if the program is to end
[[nodiscard]] std::optional<int> readOptions(int argc, const char* const* argv, Options& options);

/// Shows `reader` the command line.
void describe(Language language, const CommandLineReader& reader);

}  // namespace tools::opcuaweb
