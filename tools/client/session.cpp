#include "tools/client/session.h"

#include <open62541/client_config_default.h>

#include <algorithm>
#include <limits>

#include "tools/text/text.h"

namespace tools {

namespace {

constexpr std::size_t kNodesPerRead = 1000;
constexpr UA_UInt32 kReferencesPerAnswer = 1000;

}  // namespace

Session::Session(std::string url, std::chrono::milliseconds answerTime)
    : url_(std::move(url)), answerTime_(answerTime) {}

namespace {

/// The library's own messages would disrupt the table; the caller reports what an operator must
/// know.
UA_Logger* silentLogger() {
    static UA_Logger logger{[](void*, UA_LogLevel, UA_LogCategory, const char*, va_list) {},
                            nullptr, nullptr};
    return &logger;
}

UA_Client* newClient(std::chrono::milliseconds answerTime) {
    UA_ClientConfig config{};
    config.logging = silentLogger();
    if (UA_ClientConfig_setDefault(&config) != UA_STATUSCODE_GOOD) return nullptr;
    config.timeout = static_cast<UA_UInt32>(answerTime.count());
    // A lost connection is reported to the operator and restored by this program, which then reads
    // the tree again.
    config.noReconnect = true;
    config.noNewSession = true;
    return UA_Client_newWithConfig(&config);
}

}  // namespace

UA_StatusCode Session::connect() {
    client_.reset(newClient(answerTime_));
    if (client_ == nullptr) return UA_STATUSCODE_BADOUTOFMEMORY;
    const UA_StatusCode status = UA_Client_connect(client_.get(), url_.c_str());
    if (status != UA_STATUSCODE_GOOD) return status;
    return UA_Client_getNamespaceIndex(client_.get(), uaView(kServerNamespace), &namespaceIndex_);
}

namespace {

/// Moves the references into the server's namespace out of `result` and to the end of `children`.
void takeChildren(UA_BrowseResult& result, UA_UInt16 namespaceIndex, std::vector<Child>& children) {
    const UA_NodeId folderType = UA_NODEID_NUMERIC(0, UA_NS0ID_FOLDERTYPE);
    for (std::size_t i = 0; i < result.referencesSize; ++i) {
        UA_ReferenceDescription& reference = result.references[i];
        UA_NodeId& target = reference.nodeId.nodeId;
        if (reference.nodeId.serverIndex != 0 || target.namespaceIndex != namespaceIndex) continue;
        children.push_back({NodeId{target}, printable(textOf(reference.displayName.text)),
                            reference.nodeClass == UA_NODECLASS_VARIABLE,
                            UA_NodeId_equal(&reference.typeDefinition.nodeId, &folderType)});
        UA_NodeId_init(&target);  // owned by the child now
    }
}

}  // namespace

UA_StatusCode Session::takeAllChildren(UA_BrowseResult& first, std::vector<Child>& children) {
    takeChildren(first, namespaceIndex_, children);
    ByteString point{first.continuationPoint};
    UA_ByteString_init(&first.continuationPoint);
    while (point->length > 0) {
        UA_BrowseNextRequest request{};
        UA_BrowseNextRequest_init(&request);
        request.continuationPoints = point.get();
        request.continuationPointsSize = 1;
        BrowseNextResponse response{UA_Client_Service_browseNext(client_.get(), request)};
        const UA_StatusCode status = response->responseHeader.serviceResult;
        if (UA_StatusCode_isBad(status)) return status;
        if (response->resultsSize != 1) return UA_STATUSCODE_BADUNEXPECTEDERROR;
        UA_BrowseResult& result = response->results[0];
        takeChildren(result, namespaceIndex_, children);
        std::swap(*point, result.continuationPoint);
    }
    return UA_STATUSCODE_GOOD;
}

UA_StatusCode Session::browse(const std::vector<const UA_NodeId*>& nodes,
                              std::vector<std::vector<Child>>& children) {
    children.clear();
    children.resize(nodes.size());
    std::vector<UA_BrowseDescription> wanted(nodes.size());
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        UA_BrowseDescription_init(&wanted[i]);
        wanted[i].nodeId = *nodes[i];
        wanted[i].browseDirection = UA_BROWSEDIRECTION_FORWARD;
        wanted[i].referenceTypeId = UA_NODEID_NUMERIC(0, UA_NS0ID_HIERARCHICALREFERENCES);
        wanted[i].includeSubtypes = true;
        wanted[i].nodeClassMask = UA_NODECLASS_OBJECT | UA_NODECLASS_VARIABLE;
        wanted[i].resultMask = UA_BROWSERESULTMASK_NODECLASS | UA_BROWSERESULTMASK_DISPLAYNAME |
                               UA_BROWSERESULTMASK_TYPEDEFINITION;
    }
    UA_BrowseRequest request{};
    UA_BrowseRequest_init(&request);
    request.requestedMaxReferencesPerNode = kReferencesPerAnswer;
    request.nodesToBrowse = wanted.data();
    request.nodesToBrowseSize = wanted.size();
    BrowseResponse response{UA_Client_Service_browse(client_.get(), request)};
    if (UA_StatusCode_isBad(response->responseHeader.serviceResult)) {
        return response->responseHeader.serviceResult;
    }
    for (std::size_t i = 0; i < std::min(nodes.size(), response->resultsSize); ++i) {
        const UA_StatusCode status = takeAllChildren(response->results[i], children[i]);
        if (status != UA_STATUSCODE_GOOD) return status;
    }
    return UA_STATUSCODE_GOOD;
}

UA_StatusCode Session::readChunk(UA_ReadRequest& request, std::vector<DataValue>& values) {
    ReadResponse response{UA_Client_Service_read(client_.get(), request)};
    const UA_StatusCode status = response->responseHeader.serviceResult;
    if (UA_StatusCode_isBad(status)) return status;
    if (response->resultsSize != request.nodesToReadSize) return UA_STATUSCODE_BADUNEXPECTEDERROR;
    for (std::size_t i = 0; i < response->resultsSize; ++i) {
        values.emplace_back(response->results[i]);
        UA_DataValue_init(&response->results[i]);  // owned by `values` now
    }
    return UA_STATUSCODE_GOOD;
}

UA_StatusCode Session::read(const std::vector<const UA_NodeId*>& nodes, UA_AttributeId attributeId,
                            std::vector<DataValue>& values) {
    values.clear();
    values.reserve(nodes.size());
    std::vector<UA_ReadValueId> wanted(std::min(nodes.size(), kNodesPerRead));
    for (std::size_t from = 0; from < nodes.size(); from += kNodesPerRead) {
        const std::size_t count = std::min(kNodesPerRead, nodes.size() - from);
        for (std::size_t i = 0; i < count; ++i) {
            UA_ReadValueId_init(&wanted[i]);
            wanted[i].nodeId = *nodes[from + i];
            wanted[i].attributeId = attributeId;
        }
        UA_ReadRequest request{};
        UA_ReadRequest_init(&request);
        request.timestampsToReturn = UA_TIMESTAMPSTORETURN_SOURCE;
        request.nodesToRead = wanted.data();
        request.nodesToReadSize = count;
        const UA_StatusCode status = readChunk(request, values);
        if (status != UA_STATUSCODE_GOOD) return status;
    }
    return UA_STATUSCODE_GOOD;
}

UA_StatusCode Session::browsePens(std::vector<Child>& pens) {
    constexpr UA_UInt32 kHistoricalFolder = 7;
    const UA_NodeId folder = UA_NODEID_NUMERIC(namespaceIndex_, kHistoricalFolder);
    std::vector<std::vector<Child>> plotters;
    UA_StatusCode status = browse({&folder}, plotters);
    for (std::size_t i = 0; status == UA_STATUSCODE_GOOD && i < plotters.front().size(); ++i) {
        std::vector<std::vector<Child>> lists;
        status = browse({plotters.front()[i].id.get()}, lists);
        for (Child& pen : lists.front()) {
            if (pen.isVariable) pens.push_back(std::move(pen));
        }
    }
    return status;
}

namespace {

/// Converts a value to a time and a number; other types give no number.
HistoryValue historyValueOf(const UA_DataValue& data) {
    HistoryValue value;
    if (data.hasSourceTimestamp) value.time = data.sourceTimestamp;
    if (data.hasStatus) value.status = data.status;
    value.number = std::numeric_limits<double>::quiet_NaN();
    if (!data.hasValue || !UA_Variant_isScalar(&data.value)) return value;
    switch (data.value.type->typeKind) {
        case UA_DATATYPEKIND_BOOLEAN:
            value.number = *static_cast<const UA_Boolean*>(data.value.data) ? 1 : 0;
            break;
        case UA_DATATYPEKIND_INT64:
            value.number = static_cast<double>(*static_cast<const UA_Int64*>(data.value.data));
            value.wide = true;
            break;
        case UA_DATATYPEKIND_FLOAT:
            value.number = static_cast<double>(*static_cast<const UA_Float*>(data.value.data));
            break;
        case UA_DATATYPEKIND_DOUBLE:
            value.number = *static_cast<const UA_Double*>(data.value.data);
            value.wide = true;
            break;
        default:
            break;
    }
    return value;
}

}  // namespace

UA_StatusCode Session::readHistory(const UA_NodeId& node, UA_DateTime from, UA_DateTime to,
                                   std::vector<HistoryValue>& values) {
    UA_ReadRawModifiedDetails details{};
    details.startTime = from;
    details.endTime = to;
    UA_HistoryReadValueId wanted{};
    wanted.nodeId = node;
    UA_HistoryReadRequest request{};
    UA_HistoryReadRequest_init(&request);
    UA_ExtensionObject_setValueNoDelete(&request.historyReadDetails, &details,
                                        &UA_TYPES[UA_TYPES_READRAWMODIFIEDDETAILS]);
    request.timestampsToReturn = UA_TIMESTAMPSTORETURN_SOURCE;
    request.nodesToRead = &wanted;
    request.nodesToReadSize = 1;
    HistoryReadResponse response{UA_Client_Service_historyRead(client_.get(), request)};
    if (UA_StatusCode_isBad(response->responseHeader.serviceResult)) {
        return response->responseHeader.serviceResult;
    }
    if (response->resultsSize != 1) return UA_STATUSCODE_BADUNEXPECTEDERROR;
    const UA_HistoryReadResult& result = response->results[0];
    if (UA_StatusCode_isBad(result.statusCode)) return result.statusCode;
    const UA_ExtensionObject& data = result.historyData;
    const bool decoded = data.encoding == UA_EXTENSIONOBJECT_DECODED &&
                         data.content.decoded.type == &UA_TYPES[UA_TYPES_HISTORYDATA];
    if (!decoded) return UA_STATUSCODE_GOOD;  // no values
    const auto& history = *static_cast<const UA_HistoryData*>(data.content.decoded.data);
    for (std::size_t i = 0; i < history.dataValuesSize; ++i) {
        values.push_back(historyValueOf(history.dataValues[i]));
    }
    return UA_STATUSCODE_GOOD;
}

bool Session::isConnected() const {
    UA_SecureChannelState channel{};
    UA_SessionState session{};
    UA_StatusCode status = UA_STATUSCODE_GOOD;
    UA_Client_getState(client_.get(), &channel, &session, &status);
    return session == UA_SESSIONSTATE_ACTIVATED;
}

UA_StatusCode Session::idle(std::chrono::milliseconds time) {
    return UA_Client_run_iterate(client_.get(), static_cast<UA_UInt32>(time.count()));
}

}  // namespace tools
