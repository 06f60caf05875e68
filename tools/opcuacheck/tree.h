#pragma once

#include <string>
#include <vector>

#include "tools/opcuacheck/database.h"
#include "tools/opcuacheck/server_view.h"

namespace tools::opcuacheck {

/// One node that the configuration gives. Texts are UTF-8.
struct TreeNode {
    std::string id;        ///< "i=6" or "s=VA_1", in the server's namespace
    std::string parentId;  ///< likewise; "i=85" of namespace 0 for the top
    std::string name;
    int depth = 0;
    bool variable = false;
    std::string dataType;  ///< of its values; empty when not known
    std::string access;    ///< "R", "W", "RW"; history: "R+H"
    /// May not exist like this: the sub-kind of a manual input, or the variable of a pen, is
    /// unknown.
    bool uncertain = false;
};

/// The operative trees, flat and by group, and as much of the historical tree as follows from the
/// configuration; a parent comes before its children. Empty if the lists are too long.
[[nodiscard]] std::vector<TreeNode> treeOf(const ServerView& view, const Database& database);

}  // namespace tools::opcuacheck
