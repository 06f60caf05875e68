#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "sim/memory/database_memory.h"
#include "tools/command_line/reader.h"

namespace sim {

/// The command line's options.
struct Options {
    Counts counts{80, 12, 24, 60, 24, 10,
                  10, 10, 20, 20, 20};  // by type code: VA AV HI DI DO TH ...
    std::optional<int> port;            // for the sample opcuasrv.ini; kFirstPort without it
    std::optional<int> cycleMs;         // else veskkntr.ini, else 100
    std::optional<int> controllerNumber;
    std::optional<std::chrono::seconds> history;  // past to make for the trend archive
    std::optional<std::chrono::seconds> keep;  // of the archive; 35 days or the history without it
    std::string config;                        // opcuasrv.ini of the user's; empty: the sample
    std::uint8_t generation = 0;
    std::uint64_t seed = 1;
    bool frozen = false;
    bool stats = false;
    std::string cycleLog;  // file that gets a line for each cycle; empty: none
    bool fresh = false;
    bool attributeTable = false;
};

/// Reads the command line.
/// @return nothing when the program must end at once with `exitStatus`: after --help (0), or after
///         a message on standard error (2).
[[nodiscard]] std::optional<Options> parseOptions(int argc, const char* const* argv,
                                                  int& exitStatus);

/// Shows `reader` the command line.
void describe(tools::Language language, const tools::CommandLineReader& reader);

}  // namespace sim
