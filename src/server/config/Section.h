#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// One setting of the configuration file.
struct KeyValue {
    std::string key;  ///< as written in the file, CP866
    /// CP866, cut at its first ":" or ";"; blanks before the cut remain.
    std::string value;
    std::int32_t line = 0;  ///< line of this value, from 1; 0: not found
};

/// One section of the configuration file with its accepted keys, sorted by key, ignoring case. A
/// section is kept even if none of its keys was accepted. Lines are not found if a heading is not
/// closed.
struct Section {
    std::string name;  ///< as first written in the file, CP866
    std::vector<KeyValue> params;
    std::int32_t line = 0;  ///< of its first heading, from 1; 0: not found
};
