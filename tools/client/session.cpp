#include "tools/client/session.h"

#include <netdb.h>
#include <open62541/client_config_default.h>

#include <algorithm>
#include <array>
#include <limits>
#include <span>

#include "tools/client/format.h"
#include "tools/text/text.h"

namespace tools {

namespace {

constexpr std::size_t kNodesPerRead = 1000;
constexpr UA_UInt32 kReferencesPerAnswer = 1000;
// A faulty server may answer every BrowseNext with another continuation point.
constexpr std::size_t kMostChildren = 2'000'000;
constexpr int kMostAnswers = 100'000;

}  // namespace

std::string idText(const UA_NodeId& id) {
    OwnedString text;
    if (UA_NodeId_print(&id, text.get()) != UA_STATUSCODE_GOOD) return "?";
    return printable(textOf(*text));
}

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
    config.noNewSession = true;
    return UA_Client_newWithConfig(&config);
}

}  // namespace

namespace {

std::string tokenText(UA_UserTokenType type) {
    switch (type) {
        case UA_USERTOKENTYPE_ANONYMOUS:
            return "anonymous";
        case UA_USERTOKENTYPE_USERNAME:
            return "user name";
        case UA_USERTOKENTYPE_CERTIFICATE:
            return "certificate";
        default:
            return "issued token";
    }
}

Endpoint endpointOf(const UA_EndpointDescription& from) {
    const std::string policy = printable(textOf(from.securityPolicyUri));
    Endpoint endpoint{printable(textOf(from.endpointUrl)),
                      from.securityMode,
                      policy.substr(policy.find('#') + 1),  // all of it if there is no '#'
                      {},
                      printable(textOf(from.server.applicationName.text)),
                      printable(textOf(from.server.applicationUri)),
                      printable(textOf(from.server.productUri))};
    for (const auto& token : std::span{from.userIdentityTokens, from.userIdentityTokensSize})
        endpoint.tokens.push_back(tokenText(token.tokenType));
    return endpoint;
}

}  // namespace

namespace {

UA_StatusCode findEndpointsAt(const std::string& url, std::chrono::milliseconds answerTime,
                              std::vector<Endpoint>& endpoints) {
    const OwnedClient client{newClient(answerTime)};
    if (client == nullptr) return UA_STATUSCODE_BADOUTOFMEMORY;
    // Without a choice of its own, the library chooses an endpoint first, and fails if there is none
    // for it.
    UA_EndpointDescription& own = UA_Client_getConfig(client.get())->endpoint;
    own.endpointUrl = UA_String_fromChars(url.c_str());
    own.securityMode = UA_MESSAGESECURITYMODE_NONE;
    own.securityPolicyUri = UA_String_fromChars("http://opcfoundation.org/UA/SecurityPolicy#None");
    UA_EndpointDescription* list = nullptr;
    std::size_t count = 0;
    const UA_StatusCode status = UA_Client_getEndpoints(client.get(), url.c_str(), &count, &list);
    for (const auto& endpoint : std::span{list, count})
        endpoints.push_back(endpointOf(endpoint));
    UA_Array_delete(list, count, &UA_TYPES[UA_TYPES_ENDPOINTDESCRIPTION]);
    return status;
}

struct AddressListDeleter {
    void operator()(addrinfo* list) const { freeaddrinfo(list); }
};

using AddressList = std::unique_ptr<addrinfo, AddressListDeleter>;

AddressList addressesOf(const UA_String& host) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* list = nullptr;
    const int error = getaddrinfo(std::string(textOf(host)).c_str(), nullptr, &hints, &list);
    return AddressList(error == 0 ? list : nullptr);
}

/// As a URL has it: "127.0.0.1" or "[::1]"; empty if the address has no such form.
std::string urlHost(const addrinfo& address) {
    std::array<char, NI_MAXHOST> name{};
    const int error = getnameinfo(address.ai_addr, address.ai_addrlen, name.data(), name.size(),
                                  nullptr, 0, NI_NUMERICHOST);
    if (error != 0) return {};
    const std::string text = name.data();
    return address.ai_family == AF_INET6 ? std::string("[").append(text).append("]") : text;
}

/// The URL with each address of its host but the first, which is the only one that the library tries: a
/// server that listens on 127.0.0.1 alone is not found at the "::1" of localhost.
std::vector<std::string> furtherUrls(const std::string& url) {
    const UA_String text = uaView(url);
    UA_String host = UA_STRING_NULL;
    UA_String path = UA_STRING_NULL;
    UA_UInt16 port = 4840;  // as the library assumes it
    if (UA_parseEndpointUrl(&text, &host, &port, &path) != UA_STATUSCODE_GOOD) return {};
    const AddressList addresses = addressesOf(host);
    std::string rest = ":" + std::to_string(port);
    if (path.length > 0) rest.append("/").append(textOf(path));
    std::vector<std::string> urls;
    for (const addrinfo* next = addresses.get(); next != nullptr; next = next->ai_next) {
        const std::string place = urlHost(*next);
        if (next == addresses.get() || place.empty()) continue;
        urls.emplace_back("opc.tcp://").append(place).append(rest);
    }
    return urls;
}

}  // namespace

UA_StatusCode findEndpoints(const std::string& url, std::chrono::milliseconds answerTime,
                            std::vector<Endpoint>& endpoints) {
    endpoints.clear();
    const UA_StatusCode status = findEndpointsAt(url, answerTime, endpoints);
    if (status == UA_STATUSCODE_GOOD) return status;
    for (const std::string& further : furtherUrls(url)) {
        if (findEndpointsAt(further, answerTime, endpoints) == UA_STATUSCODE_GOOD) {
            return UA_STATUSCODE_GOOD;
        }
    }
    return status;
}

UA_StatusCode Session::connect() {
    const UA_StatusCode status = connectTo(url_);
    if (status == UA_STATUSCODE_GOOD || barrier_ != Barrier::none) return status;
    for (const std::string& url : furtherUrls(url_)) {
        const UA_StatusCode further = connectTo(url);
        if (further == UA_STATUSCODE_GOOD || barrier_ != Barrier::none) return further;
    }
    return status;
}

UA_StatusCode Session::connectTo(const std::string& url) {
    client_.reset(newClient(answerTime_));
    namespaceIndex_ = 0;
    barrier_ = Barrier::none;
    if (client_ == nullptr) return UA_STATUSCODE_BADOUTOFMEMORY;
    const UA_StatusCode status = UA_Client_connect(client_.get(), url.c_str());
    if (status != UA_STATUSCODE_GOOD) {
        barrier_ = findBarrier(status);
        return status;
    }
    // From now on a lost connection is reported to the operator and restored by this program, which
    // then reads the tree again. Not before: the library connects anew when the server has another
    // path in its address.
    UA_Client_getConfig(client_.get())->noReconnect = true;
    // Left at 0 if there is no such namespace.
    static_cast<void>(
        UA_Client_getNamespaceIndex(client_.get(), uaView(kServerNamespace), &namespaceIndex_));
    return readLimits();
}

/// Asks for the endpoints, which every server shows to everybody.
Barrier Session::findBarrier(UA_StatusCode status) const {
    switch (status) {
        case UA_STATUSCODE_BADSECURITYPOLICYREJECTED:
        case UA_STATUSCODE_BADSECURITYMODEREJECTED:
            return Barrier::encryptedOnly;
        case UA_STATUSCODE_BADUSERACCESSDENIED:
        case UA_STATUSCODE_BADIDENTITYTOKENINVALID:
            return Barrier::noAnonymous;
        case UA_STATUSCODE_BADIDENTITYTOKENREJECTED:
            break;
        default:
            return Barrier::none;
    }
    std::vector<Endpoint> endpoints;
    if (findEndpoints(url_, answerTime_, endpoints) != UA_STATUSCODE_GOOD) return Barrier::none;
    const bool open = std::any_of(endpoints.begin(), endpoints.end(), [](const Endpoint& endpoint) {
        return endpoint.mode == UA_MESSAGESECURITYMODE_NONE;
    });
    return open ? Barrier::noAnonymous : Barrier::encryptedOnly;
}

std::string Session::problemText(UA_StatusCode status, Language language) const {
    static constexpr Text kEncryptedOnly{
        "сервер принимает только зашифрованные соединения, а эта программа устанавливает "
        "незашифрованные",
        "the server accepts encrypted connections only, and this program makes unencrypted ones"};
    static constexpr Text kNoAnonymous{
        "сервер не принимает анонимных пользователей, а других эта программа не предъявляет",
        "the server does not admit anonymous users, and this program has no others"};
    std::string code = formatQuality(status);
    if (barrier_ == Barrier::none) return code;
    const Text& text = barrier_ == Barrier::encryptedOnly ? kEncryptedOnly : kNoAnonymous;
    return text.in(language) + "; " + code;
}

/// OPC 10000-5, 6.3.11: a limit that is 0 or missing does not exist.
UA_StatusCode Session::readLimits() {
    nodesPerRead_ = kNodesPerRead;
    nodesPerBrowse_ = kNodesPerBrowse;
    itemsPerCall_ = kItemsPerCall;
    const UA_NodeId perRead =
        UA_NODEID_NUMERIC(0, UA_NS0ID_SERVER_SERVERCAPABILITIES_OPERATIONLIMITS_MAXNODESPERREAD);
    const UA_NodeId perBrowse =
        UA_NODEID_NUMERIC(0, UA_NS0ID_SERVER_SERVERCAPABILITIES_OPERATIONLIMITS_MAXNODESPERBROWSE);
    const UA_NodeId perCall = UA_NODEID_NUMERIC(
        0, UA_NS0ID_SERVER_SERVERCAPABILITIES_OPERATIONLIMITS_MAXMONITOREDITEMSPERCALL);
    std::vector<DataValue> limits;
    const UA_StatusCode status =
        read({&perRead, &perBrowse, &perCall}, UA_ATTRIBUTEID_VALUE, limits);
    if (status != UA_STATUSCODE_GOOD) return status;
    const std::array<std::size_t*, 3> own{&nodesPerRead_, &nodesPerBrowse_, &itemsPerCall_};
    for (std::size_t i = 0; i < own.size(); ++i) {
        const UA_Variant& value = limits[i]->value;
        if (!UA_Variant_hasScalarType(&value, &UA_TYPES[UA_TYPES_UINT32])) continue;
        const std::size_t limit = *static_cast<const UA_UInt32*>(value.data);
        if (limit > 0) *own[i] = std::min(*own[i], limit);
    }
    return UA_STATUSCODE_GOOD;
}

namespace {

bool isBlank(const UA_String& text) {
    return textOf(text).find_first_not_of(' ') == std::string_view::npos;
}

std::string nameOf(const UA_ReferenceDescription& reference) {
    for (const UA_String& text : {reference.displayName.text, reference.browseName.name}) {
        if (!isBlank(text)) return printable(textOf(text));
    }
    return idText(reference.nodeId.nodeId);
}

bool isStandard(const UA_NodeId& id, UA_UInt32 number) {
    const UA_NodeId wanted = UA_NODEID_NUMERIC(0, number);
    return UA_NodeId_equal(&id, &wanted);
}

Child childOf(UA_ReferenceDescription& reference) {
    const bool property = isStandard(reference.referenceTypeId, UA_NS0ID_HASPROPERTY);
    const bool unit = property && reference.browseName.namespaceIndex == 0 &&
                      textOf(reference.browseName.name) == "EngineeringUnits";
    std::string name = nameOf(reference);
    Child child{NodeId{reference.nodeId.nodeId},
                std::move(name),
                reference.nodeClass == UA_NODECLASS_VARIABLE,
                isStandard(reference.typeDefinition.nodeId, UA_NS0ID_FOLDERTYPE),
                property,
                unit};
    UA_NodeId_init(&reference.nodeId.nodeId);  // owned by the child now
    return child;
}

/// Moves the references to this server's nodes out of `result` and to the end of `children`.
void takeChildren(UA_BrowseResult& result, std::vector<Child>& children) {
    for (std::size_t i = 0; i < result.referencesSize; ++i) {
        UA_ReferenceDescription& reference = result.references[i];
        if (reference.nodeId.serverIndex == 0) children.push_back(childOf(reference));
    }
}

}  // namespace

bool isRefusal(UA_StatusCode status) {
    switch (status) {
        case UA_STATUSCODE_BADINTERNALERROR:
        case UA_STATUSCODE_BADUNEXPECTEDERROR:
        case UA_STATUSCODE_BADENCODINGERROR:
        case UA_STATUSCODE_BADENCODINGLIMITSEXCEEDED:
        case UA_STATUSCODE_BADDECODINGERROR:
        case UA_STATUSCODE_BADRESOURCEUNAVAILABLE:
        case UA_STATUSCODE_BADRESPONSETOOLARGE:
        case UA_STATUSCODE_BADREQUESTTOOLARGE:
        case UA_STATUSCODE_BADTOOMANYOPERATIONS:
            return true;
        default:
            return false;
    }
}

bool Session::isBrowseLimitReached() const {
    return browseLimits_ && (browsedChildren_ >= browseLimits_->children ||
                             std::chrono::steady_clock::now() >= browseEnd_);
}

UA_StatusCode Session::takeAllChildren(UA_BrowseResult& first, std::vector<Child>& children) {
    takeChildren(first, children);
    browsedChildren_ += children.size();
    ByteString point{first.continuationPoint};
    UA_ByteString_init(&first.continuationPoint);
    for (int answers = 1; point->length > 0; ++answers) {
        UA_BrowseNextRequest request{};
        UA_BrowseNextRequest_init(&request);
        const bool enough =
            children.size() >= kMostChildren || answers >= kMostAnswers || isBrowseLimitReached();
        browseCut_ |= enough;
        request.releaseContinuationPoints = enough;
        request.continuationPoints = point.get();
        request.continuationPointsSize = 1;
        BrowseNextResponse response{UA_Client_Service_browseNext(client_.get(), request)};
        const UA_StatusCode status = response->responseHeader.serviceResult;
        if (UA_StatusCode_isBad(status)) return status;
        if (enough) return UA_STATUSCODE_GOOD;
        if (response->resultsSize != 1) return UA_STATUSCODE_BADUNEXPECTEDERROR;
        UA_BrowseResult& result = response->results[0];
        browsedChildren_ += result.referencesSize;
        takeChildren(result, children);
        std::swap(*point, result.continuationPoint);
    }
    return UA_STATUSCODE_GOOD;
}

UA_StatusCode Session::browse(const std::vector<const UA_NodeId*>& nodes,
                              std::vector<std::vector<Child>>& children) {
    children.clear();
    children.resize(nodes.size());
    browseCut_ = false;
    browsedChildren_ = 0;
    if (browseLimits_) browseEnd_ = std::chrono::steady_clock::now() + browseLimits_->time;
    for (std::size_t from = 0; from < nodes.size(); from += nodesPerBrowse_) {
        const std::size_t count = std::min(nodesPerBrowse_, nodes.size() - from);
        const UA_StatusCode status = browseDivided(&nodes[from], count, &children[from]);
        const bool isLeftOut = isRefusal(status) && nodes.size() > 1;
        browseCut_ |= isLeftOut;
        if (status != UA_STATUSCODE_GOOD && !isLeftOut) return status;
    }
    return UA_STATUSCODE_GOOD;
}

/// Finds the nodes for which the server refuses the request, and leaves them out.
UA_StatusCode Session::browseDivided(const UA_NodeId* const* nodes, std::size_t count,
                                     std::vector<Child>* children) {
    const UA_StatusCode whole = browseChunk(nodes, count, children);
    if (count < 2 || !isRefusal(whole)) return whole;
    const std::size_t half = count / 2;
    for (std::size_t i = 0; i < count; ++i) {
        children[i].clear();
    }
    for (const auto& [from, size] : {std::pair{std::size_t{0}, half}, {half, count - half}}) {
        const UA_StatusCode status = browseDivided(nodes + from, size, children + from);
        browseCut_ |= isRefusal(status);
        if (status != UA_STATUSCODE_GOOD && !isRefusal(status)) return status;
    }
    return UA_STATUSCODE_GOOD;
}

UA_StatusCode Session::browseChunk(const UA_NodeId* const* nodes, std::size_t count,
                                   std::vector<Child>* children) {
    std::vector<UA_BrowseDescription> wanted(count);
    for (std::size_t i = 0; i < count; ++i) {
        UA_BrowseDescription_init(&wanted[i]);
        wanted[i].nodeId = *nodes[i];
        wanted[i].browseDirection = UA_BROWSEDIRECTION_FORWARD;
        wanted[i].referenceTypeId = UA_NODEID_NUMERIC(0, UA_NS0ID_HIERARCHICALREFERENCES);
        wanted[i].includeSubtypes = true;
        wanted[i].nodeClassMask = UA_NODECLASS_OBJECT | UA_NODECLASS_VARIABLE;
        wanted[i].resultMask = UA_BROWSERESULTMASK_REFERENCETYPEID | UA_BROWSERESULTMASK_NODECLASS |
                               UA_BROWSERESULTMASK_BROWSENAME | UA_BROWSERESULTMASK_DISPLAYNAME |
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
    for (std::size_t i = 0; i < std::min(count, response->resultsSize); ++i) {
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

/// Finds the nodes for which the server refuses the request; these get its status.
UA_StatusCode Session::readDivided(UA_ReadRequest& request, std::vector<DataValue>& values) {
    const UA_StatusCode whole = readChunk(request, values);
    if (!isRefusal(whole)) return whole;
    const std::size_t count = request.nodesToReadSize;
    if (count < 2) {
        DataValue refused;
        refused->hasStatus = true;
        refused->status = whole;
        values.push_back(std::move(refused));
        return UA_STATUSCODE_GOOD;
    }
    UA_ReadRequest half = request;
    half.nodesToReadSize = count / 2;
    const UA_StatusCode status = readDivided(half, values);
    if (status != UA_STATUSCODE_GOOD) return status;
    half.nodesToRead += count / 2;
    half.nodesToReadSize = count - count / 2;
    return readDivided(half, values);
}

UA_StatusCode Session::read(const std::vector<const UA_NodeId*>& nodes, UA_AttributeId attributeId,
                            std::vector<DataValue>& values, UA_TimestampsToReturn times) {
    values.clear();
    values.reserve(nodes.size());
    std::vector<UA_ReadValueId> wanted(std::min(nodes.size(), nodesPerRead_));
    for (std::size_t from = 0; from < nodes.size(); from += nodesPerRead_) {
        const std::size_t count = std::min(nodesPerRead_, nodes.size() - from);
        for (std::size_t i = 0; i < count; ++i) {
            UA_ReadValueId_init(&wanted[i]);
            wanted[i].nodeId = *nodes[from + i];
            wanted[i].attributeId = attributeId;
        }
        UA_ReadRequest request{};
        UA_ReadRequest_init(&request);
        request.timestampsToReturn = times;
        request.nodesToRead = wanted.data();
        request.nodesToReadSize = count;
        const UA_StatusCode status = readDivided(request, values);
        if (status != UA_STATUSCODE_GOOD) return status;
    }
    return UA_STATUSCODE_GOOD;
}

UA_StatusCode Session::write(const UA_NodeId& node, const UA_Variant& value) {
    UA_WriteValue wanted{};
    UA_WriteValue_init(&wanted);
    wanted.nodeId = node;
    wanted.attributeId = UA_ATTRIBUTEID_VALUE;
    wanted.value.value = value;
    wanted.value.hasValue = true;
    UA_WriteRequest request{};
    UA_WriteRequest_init(&request);
    request.nodesToWrite = &wanted;
    request.nodesToWriteSize = 1;
    const WriteResponse response{UA_Client_Service_write(client_.get(), request)};
    const UA_StatusCode status = response->responseHeader.serviceResult;
    if (UA_StatusCode_isBad(status)) return status;
    return response->resultsSize == 1 ? response->results[0] : UA_STATUSCODE_BADUNEXPECTEDERROR;
}

namespace {

/// Converts a value to a time and a number; other types give no number.
HistoryValue historyValueOf(const UA_DataValue& data) {
    HistoryValue value;
    if (data.hasSourceTimestamp) value.time = data.sourceTimestamp;
    if (data.hasStatus) value.status = data.status;
    value.number = std::numeric_limits<double>::quiet_NaN();
    if (!data.hasValue || !UA_Variant_isScalar(&data.value)) return value;
    const UA_UInt32 kind = data.value.type->typeKind;
    value.number = numberOf(data.value);
    value.wide = kind == UA_DATATYPEKIND_INT32 || kind == UA_DATATYPEKIND_UINT32 ||
                 kind == UA_DATATYPEKIND_INT64 || kind == UA_DATATYPEKIND_UINT64 ||
                 kind == UA_DATATYPEKIND_DOUBLE;
    return value;
}

}  // namespace

/// The pager asks by time, and a server has few continuation points.
void Session::releaseHistory(UA_HistoryReadRequest& request, UA_HistoryReadResult& result) {
    if (result.continuationPoint.length == 0) return;
    request.releaseContinuationPoints = true;
    request.nodesToRead->continuationPoint = result.continuationPoint;
    const HistoryReadResponse response{UA_Client_Service_historyRead(client_.get(), request)};
}

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
    UA_HistoryReadResult& result = response->results[0];
    releaseHistory(request, result);
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
