#pragma once

#include <string>
#include <vector>

/// One setting of the configuration file.
struct KeyValue {
    std::string key;  ///< as written in the file, CP866
    std::string
        value;  ///< CP866, cut at its first ":" or ";"; blanks before that cut are still there
};

/// One section of the configuration file with its accepted keys, sorted by key without regard to
/// case. A section of which no key was accepted is there too.
struct Section {
    std::string name;  ///< as first written in the file, CP866
    std::vector<KeyValue> params;
};
