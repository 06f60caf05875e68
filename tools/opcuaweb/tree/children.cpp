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
UA_StatusCode readHistories(Session& session, const std::vector<Child>& children,
                            std::vector<bool>& histories) {
    std::vector<const UA_NodeId*> variables;
    for (const Child& child : children) {
        if (child.isVariable) variables.push_back(child.id.get());
    }
    std::vector<DataValue> levels;
    const UA_StatusCode status = session.read(variables, UA_ATTRIBUTEID_USERACCESSLEVEL, levels);
    if (status != UA_STATUSCODE_GOOD) return status;
    auto level = levels.begin();
    for (const Child& child : children) {
        histories.push_back(child.isVariable && hasHistory(**level++));
    }
    return UA_STATUSCODE_GOOD;
}

}  // namespace

UA_StatusCode childrenOf(Session& session, const std::string& node, Json& found) {
    NodeId id;
    static_cast<void>(parseId(node, id));
    std::vector<std::vector<Child>> lists;
    UA_StatusCode status = session.browse({id.get()}, lists);
    if (status != UA_STATUSCODE_GOOD) return status;
    std::vector<Child>& children = lists.front();
    std::erase_if(children, [](const Child& child) { return !isShown(child); });
    sortByName(children);
    const std::size_t count = std::min(children.size(), kMostChildren);
    const bool complete = count == children.size() && !session.isBrowseCut();
    children.erase(children.begin() + static_cast<std::ptrdiff_t>(count), children.end());
    std::vector<bool> histories;
    status = readHistories(session, children, histories);
    if (status != UA_STATUSCODE_GOOD) return status;
    Json nodes = Json::array();
    for (std::size_t i = 0; i < count; ++i) {
        const Child& child = children[i];
        nodes.push_back({{"id", exactId(*child.id)},
                         {"name", shortText(child.name, kMostName)},
                         {"kind", kindOf(child, histories[i])},
                         {"children", !child.isVariable || mayHaveChildren(session, child)}});
    }
    found = {{"complete", complete}, {"nodes", std::move(nodes)}};
    return UA_STATUSCODE_GOOD;
}

}  // namespace tools::opcuaweb
