#include "tools/client/details.h"

#include <algorithm>

#include "tools/client/item_list.h"
#include "tools/text/text.h"

namespace tools {

namespace {

std::string typeNameOf(const UA_Variant& value) {
    const std::string name = value.type->typeName;
    return UA_Variant_isScalar(&value) ? name : name + "[]";
}

/// For variables without a value: the attribute DataType.
UA_StatusCode readTypes(Session& session, const std::vector<const UA_NodeId*>& nodes,
                        std::vector<Details>& details) {
    std::vector<const UA_NodeId*> asked;
    std::vector<Details*> askedDetails;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (details[i].type != nullptr) continue;
        asked.push_back(nodes[i]);
        askedDetails.push_back(&details[i]);
    }
    std::vector<DataValue> types;
    const UA_StatusCode status = session.read(asked, UA_ATTRIBUTEID_DATATYPE, types);
    for (std::size_t i = 0; i < types.size(); ++i) {
        const UA_Variant& value = types[i]->value;
        if (!UA_Variant_hasScalarType(&value, &UA_TYPES[UA_TYPES_NODEID])) continue;
        const auto& id = *static_cast<const UA_NodeId*>(value.data);
        if (UA_NodeId_isNull(&id)) continue;
        const UA_DataType* type = UA_findDataType(&id);
        askedDetails[i]->type = type;
        askedDetails[i]->typeName = type != nullptr ? type->typeName : idText(id);
    }
    return status;
}

}  // namespace

UA_StatusCode readDetails(Session& session, const std::vector<const UA_NodeId*>& nodes,
                          std::vector<Details>& details) {
    details.clear();
    details.resize(nodes.size());
    std::vector<DataValue> values;
    UA_StatusCode status =
        session.read(nodes, UA_ATTRIBUTEID_VALUE, values, UA_TIMESTAMPSTORETURN_BOTH);
    std::vector<DataValue> levels;
    if (status == UA_STATUSCODE_GOOD)
        status = session.read(nodes, UA_ATTRIBUTEID_USERACCESSLEVEL, levels);
    if (status != UA_STATUSCODE_GOOD) return status;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        Details& one = details[i];
        if (hasValue(*values[i])) {
            one.type = values[i]->value.type;
            one.typeName = typeNameOf(values[i]->value);
        }
        one.value = std::move(values[i]);
        const UA_Variant& level = levels[i]->value;
        if (UA_Variant_hasScalarType(&level, &UA_TYPES[UA_TYPES_BYTE]))
            one.access = *static_cast<const UA_Byte*>(level.data);
    }
    return readTypes(session, nodes, details);
}

std::string accessText(UA_Byte access) {
    std::string text;
    if ((access & UA_ACCESSLEVELMASK_READ) != 0) text += 'R';
    if ((access & UA_ACCESSLEVELMASK_WRITE) != 0) text += 'W';
    if ((access & UA_ACCESSLEVELMASK_HISTORYREAD) != 0) text += 'H';
    return text.empty() ? "—" : text;
}

std::string unitText(const UA_Variant& value) {
    if (!UA_Variant_hasScalarType(&value, &UA_TYPES[UA_TYPES_EUINFORMATION])) return {};
    return printable(textOf(static_cast<const UA_EUInformation*>(value.data)->displayName.text));
}

namespace {

UA_StatusCode findChild(Session& session, const std::string& name, NodeId& node) {
    std::vector<std::vector<Child>> lists;
    const UA_StatusCode status = session.browse({node.get()}, lists);
    if (status != UA_STATUSCODE_GOOD) return status;
    std::vector<Child>& children = lists.front();
    const auto found = std::find_if(children.begin(), children.end(),
                                    [&](const Child& child) { return child.name == name; });
    if (found == children.end()) return UA_STATUSCODE_BADNODEIDUNKNOWN;
    node = std::move(found->id);
    return UA_STATUSCODE_GOOD;
}

}  // namespace

UA_StatusCode findNode(Session& session, const std::string& text, NodeId& node) {
    if (isNodeId(text)) return UA_NodeId_parse(node.get(), uaView(text));
    node = NodeId{UA_NODEID_NUMERIC(0, UA_NS0ID_OBJECTSFOLDER)};
    UA_StatusCode status = UA_STATUSCODE_GOOD;
    for (std::size_t from = 0; from <= text.size() && status == UA_STATUSCODE_GOOD;) {
        const std::size_t end = std::min(text.find('/', from), text.size());
        status = findChild(session, text.substr(from, end - from), node);
        from = end + 1;
    }
    return status;
}

}  // namespace tools
