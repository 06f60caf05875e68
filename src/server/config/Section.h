#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// One setting of the configuration file.
struct KeyValue {
    std::string key;  ///< as written in the file, CP866
    /// CP866, cut at its first ":" or ";"; blanks before that cut are still there.
    std::string value;
    std::int32_t line = 0;  ///< where this value stands, from 1; 0: not found
};

/// One section of the configuration file with its accepted keys, sorted by key without regard to
/// case. A section of which no key was accepted is there too. Lines are not found where a heading is
/// not closed.
struct Section {
    std::string name;  ///< as first written in the file, CP866
    std::vector<KeyValue> params;
    std::int32_t line = 0;  ///< of its first heading, from 1; 0: not found
};
