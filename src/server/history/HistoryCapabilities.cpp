#include "server/history/HistoryCapabilities.h"

#include <open62541/nodeids.h>

#include "server/opcua/UaView.h"

namespace {

/// Writes a property of HistoryServerCapabilities; one that is missing is added.
template <class Scalar>
UA_StatusCode setProperty(UA_Server* server, UA_UInt32 id, const char* name, Scalar value,
                          std::size_t typeIndex) {
    UA_VariableAttributes attributes = UA_VariableAttributes_default;
    UA_Variant_setScalar(&attributes.value, &value, &UA_TYPES[typeIndex]);
    const UA_NodeId node = UA_NODEID_NUMERIC(0, id);
    const UA_StatusCode written = UA_Server_writeValue(server, node, attributes.value);
    if (written != UA_STATUSCODE_BADNODEIDUNKNOWN) return written;

    attributes.displayName = uaTextView("", name);
    attributes.dataType = UA_TYPES[typeIndex].typeId;
    attributes.valueRank = UA_VALUERANK_SCALAR;
    return UA_Server_addVariableNode(
        server, node, UA_NODEID_NUMERIC(0, UA_NS0ID_HISTORYSERVERCAPABILITIES),
        UA_NODEID_NUMERIC(0, UA_NS0ID_HASPROPERTY), uaNameView(0, name),
        UA_NODEID_NUMERIC(0, UA_NS0ID_PROPERTYTYPE), attributes, nullptr, nullptr);
}

/// The object that holds the properties. A plain one where the library lacks the type too.
UA_StatusCode addCapabilities(UA_Server* server) {
    const UA_NodeId id = UA_NODEID_NUMERIC(0, UA_NS0ID_HISTORYSERVERCAPABILITIES);
    UA_NodeClass nodeClass{};
    if (UA_Server_readNodeClass(server, id, &nodeClass) == UA_STATUSCODE_GOOD) {
        return UA_STATUSCODE_GOOD;
    }
    constexpr const char* kName = "HistoryServerCapabilities";
    UA_ObjectAttributes attributes = UA_ObjectAttributes_default;
    attributes.displayName = uaTextView("", kName);
    return UA_Server_addObjectNode(
        server, id, UA_NODEID_NUMERIC(0, UA_NS0ID_SERVER_SERVERCAPABILITIES),
        UA_NODEID_NUMERIC(0, UA_NS0ID_HASCOMPONENT), uaNameView(0, kName),
        UA_NODEID_NUMERIC(0, UA_NS0ID_BASEOBJECTTYPE), attributes, nullptr, nullptr);
}

}  // namespace

UA_StatusCode announceHistory(UA_Server* server, UA_UInt32 maxReturnDataValues) {
    UA_ServerConfig* const config = UA_Server_getConfig(server);
    config->accessHistoryDataCapability = true;
    config->maxReturnDataValues = maxReturnDataValues;

    const UA_StatusCode object = addCapabilities(server);
    if (object != UA_STATUSCODE_GOOD) return object;
    const UA_StatusCode access =
        setProperty(server, UA_NS0ID_HISTORYSERVERCAPABILITIES_ACCESSHISTORYDATACAPABILITY,
                    "AccessHistoryDataCapability", UA_Boolean{true}, UA_TYPES_BOOLEAN);
    if (access != UA_STATUSCODE_GOOD) return access;
    return setProperty(server, UA_NS0ID_HISTORYSERVERCAPABILITIES_MAXRETURNDATAVALUES,
                       "MaxReturnDataValues", maxReturnDataValues, UA_TYPES_UINT32);
}
