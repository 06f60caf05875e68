#include "server/endpoint/Capabilities.h"

#include <open62541/nodeids.h>

#include <array>
#include <ctime>

#include "server/limits/Limits.h"
#include "server/opcua/UaView.h"

namespace {

// ---- Values ------------------------------------------------------------------------------------

template <auto Limit>
UA_UInt32 limit(const UA_ServerConfig& config) {
    return static_cast<UA_UInt32>(config.*Limit);
}

/// The null time: no shutdown is planned.
UA_DateTime estimatedReturnTime(const UA_ServerConfig& /*config*/) {
    return 0;
}

/// Minutes east of Greenwich at present, summer time included.
UA_TimeZoneDataType localTime(const UA_ServerConfig& /*config*/) {
    const time_t now = time(nullptr);
    tm local{};
    if (localtime_r(&now, &local) == nullptr) return {};
    return {static_cast<UA_Int16>(local.tm_gmtoff / 60), local.tm_isdst > 0};
}

/// A client that asks for server times gets the archive's time stamps as server times too.
UA_Boolean serverTimestampSupported(const UA_ServerConfig& /*config*/) {
    return true;
}

UA_UInt32 nodesPerHistoryRead(const UA_ServerConfig& /*config*/) {
    return kNodesPerHistoryRead;
}

template <auto Value>
UA_StatusCode readValue(UA_Server* server, const UA_NodeId* /*sessionId*/, void* /*sessionContext*/,
                        const UA_NodeId* /*nodeId*/, void* nodeContext, UA_Boolean withTime,
                        const UA_NumericRange* range, UA_DataValue* out) noexcept {
    if (range != nullptr) return UA_STATUSCODE_BADINDEXRANGEINVALID;
    const auto value = Value(*UA_Server_getConfig(server));
    const auto* const type = static_cast<const UA_DataType*>(nodeContext);
    const UA_StatusCode status = UA_Variant_setScalarCopy(&out->value, &value, type);
    if (status != UA_STATUSCODE_GOOD) return status;
    out->hasValue = true;
    out->hasSourceTimestamp = withTime;
    if (withTime) out->sourceTimestamp = UA_DateTime_now();
    return UA_STATUSCODE_GOOD;
}

// ---- Properties --------------------------------------------------------------------------------

struct Property {
    UA_UInt32 id;
    UA_UInt32 parent;
    const char* name;
    std::size_t typeIndex;
    decltype(UA_CallbackValueSource::read) read;
};

constexpr UA_UInt32 kServer = UA_NS0ID_SERVER;
constexpr UA_UInt32 kCapabilities = UA_NS0ID_SERVER_SERVERCAPABILITIES;
constexpr UA_UInt32 kOperations = UA_NS0ID_SERVER_SERVERCAPABILITIES_OPERATIONLIMITS;
constexpr UA_UInt32 kHistory = UA_NS0ID_HISTORYSERVERCAPABILITIES;

using Config = UA_ServerConfig;

// A number of 0 means that there is no limit. No text or array is longer than a message.
// clang-format off
constexpr std::array kProperties{
    Property{UA_NS0ID_SERVER_ESTIMATEDRETURNTIME, kServer, "EstimatedReturnTime", UA_TYPES_DATETIME, readValue<estimatedReturnTime>},
    Property{UA_NS0ID_SERVER_LOCALTIME, kServer, "LocalTime", UA_TYPES_TIMEZONEDATATYPE, readValue<localTime>},
    Property{UA_NS0ID_HISTORYSERVERCAPABILITIES_SERVERTIMESTAMPSUPPORTED, kHistory, "ServerTimestampSupported", UA_TYPES_BOOLEAN, readValue<serverTimestampSupported>},
    Property{UA_NS0ID_SERVER_SERVERCAPABILITIES_MAXARRAYLENGTH, kCapabilities, "MaxArrayLength", UA_TYPES_UINT32, readValue<limit<&Config::tcpMaxMsgSize>>},
    Property{UA_NS0ID_SERVER_SERVERCAPABILITIES_MAXSTRINGLENGTH, kCapabilities, "MaxStringLength", UA_TYPES_UINT32, readValue<limit<&Config::tcpMaxMsgSize>>},
    Property{UA_NS0ID_SERVER_SERVERCAPABILITIES_MAXBYTESTRINGLENGTH, kCapabilities, "MaxByteStringLength", UA_TYPES_UINT32, readValue<limit<&Config::tcpMaxMsgSize>>},
    Property{UA_NS0ID_SERVER_SERVERCAPABILITIES_MAXSESSIONS, kCapabilities, "MaxSessions", UA_TYPES_UINT32, readValue<limit<&Config::maxSessions>>},
    Property{UA_NS0ID_SERVER_SERVERCAPABILITIES_MAXSUBSCRIPTIONS, kCapabilities, "MaxSubscriptions", UA_TYPES_UINT32, readValue<limit<&Config::maxSubscriptions>>},
    Property{UA_NS0ID_SERVER_SERVERCAPABILITIES_MAXSUBSCRIPTIONSPERSESSION, kCapabilities, "MaxSubscriptionsPerSession", UA_TYPES_UINT32, readValue<limit<&Config::maxSubscriptionsPerSession>>},
    Property{UA_NS0ID_SERVER_SERVERCAPABILITIES_MAXMONITOREDITEMS, kCapabilities, "MaxMonitoredItems", UA_TYPES_UINT32, readValue<limit<&Config::maxMonitoredItems>>},
    Property{UA_NS0ID_SERVER_SERVERCAPABILITIES_MAXMONITOREDITEMSPERSUBSCRIPTION, kCapabilities, "MaxMonitoredItemsPerSubscription", UA_TYPES_UINT32, readValue<limit<&Config::maxMonitoredItemsPerSubscription>>},
    Property{UA_NS0ID_SERVER_SERVERCAPABILITIES_OPERATIONLIMITS_MAXNODESPERHISTORYREADDATA, kOperations, "MaxNodesPerHistoryReadData", UA_TYPES_UINT32, readValue<nodesPerHistoryRead>},
};
// clang-format on

UA_StatusCode add(UA_Server* server, const Property& property) {
    const UA_DataType& type = UA_TYPES[property.typeIndex];
    UA_VariableAttributes attributes = UA_VariableAttributes_default;
    attributes.displayName = uaTextView("", property.name);
    attributes.dataType = type.typeId;
    attributes.valueRank = UA_VALUERANK_SCALAR;
    const UA_NodeId id = UA_NODEID_NUMERIC(0, property.id);
    // A library with the full namespace may already have it, with a value that is not ours.
    (void)UA_Server_deleteNode(server, id, true);
    return UA_Server_addCallbackValueSourceVariableNode(
        server, id, UA_NODEID_NUMERIC(0, property.parent),
        UA_NODEID_NUMERIC(0, UA_NS0ID_HASPROPERTY), uaNameView(0, property.name),
        UA_NODEID_NUMERIC(0, UA_NS0ID_PROPERTYTYPE), attributes,
        UA_CallbackValueSource{property.read, nullptr}, const_cast<UA_DataType*>(&type), nullptr);
}

// ---- Locales -----------------------------------------------------------------------------------

/// Names and descriptions of tags and pens are Russian, those of folders carry an English locale.
UA_StatusCode setLocales(UA_Server* server) {
    std::array<UA_String, 2> locales{uaView("ru-RU"), uaView("en")};
    UA_Variant value;
    UA_Variant_init(&value);
    UA_Variant_setArray(&value, locales.data(), locales.size(), &UA_TYPES[UA_TYPES_LOCALEID]);
    return UA_Server_writeValue(
        server, UA_NODEID_NUMERIC(0, UA_NS0ID_SERVER_SERVERCAPABILITIES_LOCALEIDARRAY), value);
}

}  // namespace

UA_StatusCode announceCapabilities(UA_Server* server) {
    UA_StatusCode first = setLocales(server);
    for (const Property& property : kProperties) {
        const UA_StatusCode status = add(server, property);
        if (first == UA_STATUSCODE_GOOD) first = status;
    }
    return first;
}
