#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "tools/client/session.h"
#include "tools/opcuaweb/basics/json.h"

namespace tools::opcuaweb {

/// What the variables of one tag have in common.
struct Tag {
    std::string id;      ///< of its object
    std::string tag;     ///< display name of the object
    std::string folder;  ///< display names of the folders above, "Operative / 1_VA"
    std::string name;    ///< values of its text variables "Имя...", joined
    std::string unit;    ///< value of a text variable "Единица..."
    std::string search;  ///< tag, name and all other texts of the tag, in lower case
};

/// One variable, as the page shows it in a table.
struct Row {
    std::string id;
    std::string item;  ///< its display name
    std::string type;  ///< of its value, as the library names it; empty without a value
    bool readable = false;
    bool writable = false;
    bool history = false;
    std::shared_ptr<const Tag> tag;
};

[[nodiscard]] Json rowJson(const Row& row);

/// What follows the last comma of a tag's name, if it is short enough for a unit: "°C" of "Вода К1 Твых,°C".
[[nodiscard]] std::string unitIn(const std::string& name);

/// Neither the standard's own nor a property, which describes its parent.
[[nodiscard]] bool isShown(const Child& child);

/// Walks the tree below a node step by step and describes its variables, in the order of the tree,
/// numbers in names compared as numbers. Loops, endless trees and nodes without names end or are shown by
/// their ids.
class TreeWalk {
  public:
    /// @param root      node id; unknown ones have no variables
    /// @param mostRows  rows to stop at
    TreeWalk(const std::string& root, std::size_t mostRows);

    /// Some requests. @return false if the connection failed; the walk can be repeated then
    [[nodiscard]] bool step(Session& session);
    /// Leaves out what was not visited yet.
    void stop();
    [[nodiscard]] bool isDone() const { return waiting_.empty() && newTags_.empty(); }

    [[nodiscard]] std::size_t count() const { return rows_.size(); }
    /// Hands the rows over, those of folders that hold histories only at the end: their own values mean
    /// little.
    [[nodiscard]] std::vector<Row> takeRows();
    /// False if the tree has more than was visited.
    [[nodiscard]] bool isComplete() const { return complete_; }

  private:
    struct Object {
        NodeId id;
        std::string name;
        std::string folder;
        int depth;
        bool isFolder;
    };

    [[nodiscard]] bool nameRoot(Session& session);
    void takeChildren(const Session& session, const Object& object, std::vector<Child>& children,
                      std::vector<Object>& found);
    void addRow(const Child& child, const std::shared_ptr<Tag>& tag);
    [[nodiscard]] bool describeNew(Session& session);

    std::deque<Object> waiting_;  // in the order of the visit
    std::unordered_set<std::string> seen_;
    std::vector<Row> rows_;
    std::vector<std::shared_ptr<Tag>> newTags_;  // of the last rows, until these are described
    const std::size_t mostRows_;
    bool complete_ = true;
    bool rootNamed_ = false;
};

}  // namespace tools::opcuaweb
