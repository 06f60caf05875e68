#pragma once

#include <string>
#include <vector>

#include "server/kinds/Kinds.h"
#include "tools/opcuacheck/database.h"
#include "tools/opcuacheck/server_view.h"

namespace tools::opcuacheck {

/// Node id of the standard's folder that contains everything.
inline constexpr const char* kObjectsFolder = "i=85";

/// What a node is. With it come its class, its type and its reference from the parent.
enum class NodeKind {
    folder,
    tag,   ///< the object of a tag
    item,  ///< a value variable below it
    plotter,
    pen
};

/// One node that the configuration gives. Texts are UTF-8.
struct TreeNode {
    std::string id;        ///< "i=6" or "s=VA_1", in the server's namespace
    std::string parentId;  ///< likewise; "i=85" of namespace 0 for the top
    std::string name;
    int depth = 0;
    NodeKind kind = NodeKind::folder;
    std::string dataType{};  ///< of its values; empty when not known
    std::string access{};    ///< "R", "W", "RW"; history: "R+H"
    /// May not exist like this: the sub-kind of a manual input, or the variable of a pen, is
    /// unknown.
    bool uncertain = false;
    const PublishedType* type = nullptr;  ///< of tags and items
    int attribute = 0;                    ///< of an item: number in the database

    [[nodiscard]] bool isVariable() const {
        return kind == NodeKind::item || kind == NodeKind::pen;
    }
};

/// The operative trees, flat and by group, and as much of the historical tree as follows from the
/// configuration; a parent comes before its children. Empty if the lists are too long.
[[nodiscard]] std::vector<TreeNode> treeOf(const ServerView& view, const Database& database);

}  // namespace tools::opcuacheck
