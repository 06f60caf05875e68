#include "tools/opcuacheck/tree_exports.h"

#include <limits>
#include <utility>

namespace tools::opcuacheck {

std::size_t removeNodes(std::vector<TreeNode>& tree,
                        const std::function<bool(const TreeNode&)>& unwanted) {
    constexpr int kNothing = std::numeric_limits<int>::max();
    int removedDepth = kNothing;  // of the node whose subtree is being removed
    std::vector<TreeNode> kept;
    kept.reserve(tree.size());
    for (TreeNode& node : tree) {
        if (node.depth > removedDepth) continue;
        removedDepth = unwanted(node) ? node.depth : kNothing;
        if (removedDepth == kNothing) kept.push_back(std::move(node));
    }
    const std::size_t removed = tree.size() - kept.size();
    tree = std::move(kept);
    return removed;
}

std::string descriptionOf(const TreeNode& node) {
    if (node.kind == NodeKind::tag) return node.name;
    if (node.kind != NodeKind::item) return {};
    return node.parentId.substr(node.parentId.find('=') + 1) + ".A" +
           std::to_string(node.attribute);
}

const std::string& Paths::of(const TreeNode& node) {
    above_.resize(static_cast<std::size_t>(node.depth));
    above_.push_back(above_.empty() ? node.name : above_.back() + "/" + node.name);
    return above_.back();
}

// ---- CSV ---------------------------------------------------------------------------------------

namespace {

std::string csvField(std::string_view text) {
    if (text.find_first_of(",\"\r\n") == std::string_view::npos) return std::string(text);
    std::string field = "\"";
    for (const char c : text) {
        if (c == '"') field += c;
        field += c;
    }
    return field + '"';
}

}  // namespace

void writeCsv(std::ostream& out, const std::vector<TreeNode>& tree) {
    out << "NodeId,NamespaceUri,Path,Name,DataType,Access,Unit,Description\r\n";
    const std::string prefix = "ns=" + std::to_string(kNamespaceIndex) + ";";
    Paths paths;
    for (const TreeNode& node : tree) {
        const std::string& path = paths.of(node);
        if (!node.isVariable()) continue;
        out << csvField(prefix + node.id) << ',' << kNamespaceUri << ',' << csvField(path) << ','
            << csvField(node.name) << ',' << (node.dataType == kNoType ? "" : node.dataType) << ','
            << node.access << ",," << csvField(descriptionOf(node)) << "\r\n";
    }
}

}  // namespace tools::opcuacheck
