#include "bench/bare_history.h"

#include <open62541/plugin/historydata/history_data_backend.h>
#include <open62541/plugin/historydata/history_data_gathering_default.h>
#include <open62541/plugin/historydata/history_database_default.h>

#include <string>
#include <string_view>
#include <vector>

#include "bench/pen_names.h"
#include "server/opcua/UaView.h"

namespace bench {
namespace {

// The backend's values; set before the server runs.
std::vector<float>& archive() {
    static std::vector<float> values;
    return values;
}

constexpr std::string_view kPlotter = "Plotter_1";
constexpr UA_DateTime kFirstTime = UA_DATETIME_UNIX_EPOCH + 1767225600LL * UA_DATETIME_SEC;

UA_StatusCode readArchive(UA_Server*, const UA_NodeId*, void*, const UA_HistoryDataBackend*,
                          UA_DateTime, UA_DateTime, const UA_NodeId*, std::size_t, UA_UInt32,
                          UA_Boolean, UA_TimestampsToReturn, UA_NumericRange, UA_Boolean,
                          const UA_ByteString*, UA_ByteString*, UA_HistoryData* result) {
    const std::size_t count = archive().size();
    auto* const values =
        static_cast<UA_DataValue*>(UA_Array_new(count, &UA_TYPES[UA_TYPES_DATAVALUE]));
    if (values == nullptr) return UA_STATUSCODE_BADOUTOFMEMORY;
    for (std::size_t i = 0; i < count; ++i) {
        UA_DataValue& value = values[i];
        if (UA_Variant_setScalarCopy(&value.value, &archive()[i], &UA_TYPES[UA_TYPES_FLOAT]) !=
            UA_STATUSCODE_GOOD) {
            continue;
        }
        value.hasValue = true;
        value.hasStatus = true;
        value.hasSourceTimestamp = true;
        value.sourceTimestamp = kFirstTime + static_cast<UA_DateTime>(i) * UA_DATETIME_SEC;
    }
    result->dataValues = values;
    result->dataValuesSize = count;
    return UA_STATUSCODE_GOOD;
}

UA_StatusCode dropValue(UA_Server*, void*, const UA_NodeId*, void*, const UA_NodeId*, UA_Boolean,
                        const UA_DataValue*) {
    return UA_STATUSCODE_BADHISTORYOPERATIONUNSUPPORTED;
}

UA_Boolean supportsBounds(UA_Server*, void*, const UA_NodeId*, void*, const UA_NodeId*) {
    return true;
}

UA_Boolean supportsTimestamps(UA_Server*, void*, const UA_NodeId*, void*, const UA_NodeId*,
                              UA_TimestampsToReturn) {
    return true;
}

UA_LocalizedText russian(std::string_view text) {
    return uaTextView("ru-RU", text);
}

UA_StatusCode addPen(UA_Server* server, UA_UInt16 ns, const std::string& tagName) {
    const std::string description = tagName + ".A";
    UA_Float zero = 0;
    UA_VariableAttributes attributes = UA_VariableAttributes_default;
    attributes.displayName = russian(tagName);
    attributes.description = russian(description);
    attributes.accessLevel = UA_ACCESSLEVELMASK_READ | UA_ACCESSLEVELMASK_HISTORYREAD;
    attributes.historizing = true;
    UA_Variant_setScalar(&attributes.value, &zero, &UA_TYPES[UA_TYPES_FLOAT]);
    attributes.dataType = UA_TYPES[UA_TYPES_FLOAT].typeId;
    attributes.valueRank = UA_VALUERANK_SCALAR;
    return UA_Server_addVariableNode(
        server, uaNodeIdView(ns, tagName), uaNodeIdView(ns, kPlotter),
        UA_NODEID_NUMERIC(0, UA_NS0ID_ORGANIZES), uaNameView(ns, tagName),
        UA_NODEID_NUMERIC(0, UA_NS0ID_BASEDATAVARIABLETYPE), attributes, nullptr, nullptr);
}

UA_StatusCode addFolders(UA_Server* server, UA_UInt16 ns) {
    UA_ObjectAttributes attributes = UA_ObjectAttributes_default;
    constexpr std::string_view kHistorical = "Historical";
    attributes.displayName = uaTextView("en-US", kHistorical);
    const UA_StatusCode status = UA_Server_addObjectNode(
        server, UA_NODEID_NUMERIC(ns, 7), UA_NODEID_NUMERIC(0, UA_NS0ID_OBJECTSFOLDER),
        UA_NODEID_NUMERIC(0, UA_NS0ID_ORGANIZES), uaNameView(ns, kHistorical),
        UA_NODEID_NUMERIC(0, UA_NS0ID_FOLDERTYPE), attributes, nullptr, nullptr);
    if (status != UA_STATUSCODE_GOOD) return status;
    attributes.displayName = russian(kPlotter);
    attributes.description = attributes.displayName;
    return UA_Server_addObjectNode(
        server, uaNodeIdView(ns, kPlotter), UA_NODEID_NUMERIC(ns, 7),
        UA_NODEID_NUMERIC(0, UA_NS0ID_HASCOMPONENT), uaNameView(ns, kPlotter),
        UA_NODEID_NUMERIC(0, UA_NS0ID_BASEOBJECTTYPE), attributes, nullptr, nullptr);
}

}  // namespace

UA_StatusCode addBareHistory(UA_Server* server, UA_UInt16 ns, std::size_t pens,
                             std::size_t values) {
    for (std::size_t i = 0; i < values; ++i) {
        archive().push_back(static_cast<float>(i));
    }
    const UA_HistoryDataGathering gathering = UA_HistoryDataGathering_Default(1);
    UA_Server_getConfig(server)->historyDatabase = UA_HistoryDatabase_default(gathering);
    UA_HistorizingNodeIdSettings settings{};
    settings.historizingBackend.getHistoryData = readArchive;
    settings.historizingBackend.serverSetHistoryData = dropValue;
    settings.historizingBackend.boundSupported = supportsBounds;
    settings.historizingBackend.timestampsToReturnSupported = supportsTimestamps;
    settings.maxHistoryDataResponseSize = 10'000;
    settings.historizingUpdateStrategy = UA_HISTORIZINGUPDATESTRATEGY_VALUESET;

    UA_StatusCode status = addFolders(server, ns);
    for (std::size_t pen = 1; pen <= pens && status == UA_STATUSCODE_GOOD; ++pen) {
        const std::string tagName = penTagName(pen);
        status = addPen(server, ns, tagName);
        if (status != UA_STATUSCODE_GOOD) break;
        const UA_NodeId id = uaNodeIdView(ns, tagName);
        status = gathering.registerNodeId(server, gathering.context, &id, settings);
    }
    return status;
}

}  // namespace bench
