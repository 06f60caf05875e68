#include "tools/opcuaweb/tree/children.h"

#include <open62541/types_generated.h>

#include <algorithm>

#include "tools/client/item_list.h"
#include "tools/opcuaweb/basics/limits.h"
#include "tools/opcuaweb/opcua/reading.h"
#include "tools/opcuaweb/tree/tree_walk.h"

namespace tools::opcuaweb {

namespace {

bool hasHistory(const UA_DataValue& level) {
    return level.hasValue && UA_Variant_hasScalarType(&level.value, &UA_TYPES[UA_TYPES_BYTE]) &&
           (*static_cast<const UA_Byte*>(level.value.data) & UA_ACCESSLEVELMASK_HISTORYREAD) != 0;
}

const char* kindOf(const Child& child, bool history) {
    if (child.isVariable) return history ? "pen" : "variable";
    return child.isFolder ? "folder" : "tag";
}

/// Whether each of them has a readable history.
bool readHistories(Session& session, const std::vector<Child>& children,
                   std::vector<bool>& histories) {
    std::vector<const UA_NodeId*> variables;
    for (const Child& child : children) {
        if (child.isVariable) variables.push_back(child.id.get());
    }
    std::vector<DataValue> levels;
    if (session.read(variables, UA_ATTRIBUTEID_USERACCESSLEVEL, levels) != UA_STATUSCODE_GOOD) {
        return false;
    }
    auto level = levels.begin();
    for (const Child& child : children) {
        histories.push_back(child.isVariable && hasHistory(**level++));
    }
    return true;
}

}  // namespace

std::optional<Json> childrenOf(Session& session, const std::string& node) {
    NodeId id;
    static_cast<void>(parseId(node, id));
    std::vector<std::vector<Child>> lists;
    if (session.browse({id.get()}, lists) != UA_STATUSCODE_GOOD) return std::nullopt;
    std::vector<Child>& children = lists.front();
    std::erase_if(children, [](const Child& child) { return !isShown(child); });
    sortByName(children);
    const std::size_t count = std::min(children.size(), kMostChildren);
    const bool complete = count == children.size();
    children.erase(children.begin() + static_cast<std::ptrdiff_t>(count), children.end());
    std::vector<bool> histories;
    if (!readHistories(session, children, histories)) return std::nullopt;
    Json nodes = Json::array();
    for (std::size_t i = 0; i < count; ++i) {
        const Child& child = children[i];
        nodes.push_back({{"id", idText(*child.id)},
                         {"name", child.name},
                         {"kind", kindOf(child, histories[i])},
                         {"children", !child.isVariable || mayHaveChildren(session, child)}});
    }
    return Json{{"complete", complete}, {"nodes", std::move(nodes)}};
}

}  // namespace tools::opcuaweb
