#pragma once

#include <cstddef>
#include <functional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "tools/opcuacheck/tree.h"
#include "tools/text/language.h"

// The tree in forms that other programs import, all in UTF-8. None of them can mark what is
// uncertain, so the tree that they write must not contain it.

namespace tools::opcuacheck {

inline constexpr std::string_view kNamespaceUri = "urn:vesk";
/// Of kNamespaceUri in every server: the standard's is 0, the server's own 1.
inline constexpr int kNamespaceIndex = 2;

/// Removes the nodes that `unwanted` selects, and what is below them. @return how many
std::size_t removeNodes(std::vector<TreeNode>& tree,
                        const std::function<bool(const TreeNode&)>& unwanted);

/// What the server shows as the node's description; empty if it has none.
[[nodiscard]] std::string descriptionOf(const TreeNode& node);

/// Gives each node of a tree its path: the names from below Objects, with "/" between them.
class Paths {
  public:
    /// To be called for every node, in the order of the tree. Valid until the next call.
    const std::string& of(const TreeNode& node);

  private:
    std::vector<std::string> above_;  // by depth
};

/// Comma-separated values (RFC 4180): a header, and a line for each variable. The unit is always
/// empty, because it is kept in the controller's memory only.
void writeCsv(std::ostream& out, const std::vector<TreeNode>& tree);

/// Whether XML can hold the node's texts: it has no form for most control characters.
[[nodiscard]] bool fitsXml(const TreeNode& node);
/// A UANodeSet (OPC 10000-6, Annex F) of folders, tags and items with the server's attributes and
/// references.
void writeNodeSet(std::ostream& out, const std::vector<TreeNode>& tree);

/// Configuration of Telegraf's input plugin for OPC UA: every item that can be read. Telegraf's own
/// documentation describes the format.
/// @param port      of the server
/// @param language  of the comments
void writeTelegraf(std::ostream& out, const std::vector<TreeNode>& tree, int port,
                   Language language);

}  // namespace tools::opcuacheck
