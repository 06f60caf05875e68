#pragma once

#include <string>
#include <vector>

/// One configured attribute of a tag: an entry like `Type1.Val = <name>, 29, OPC_READABLE`.
struct TagInfo {
    std::string key;                   ///< as written, begins with the type's marker
    std::string name;                  ///< display name, CP866
    int attributeNumber = 0;           ///< database attribute; 0 is the current value
    std::string access;                ///< access text as written, "default" when there is none
    std::vector<std::string> missing;  ///< keys to report: the database has no such attribute
};
