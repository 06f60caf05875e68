#include "bench/node_listing.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

#include <open62541/nodeids.h>

#include "bench/ua_connection.h"
#include "server/opcua/UaView.h"

namespace bench {
namespace {

constexpr std::size_t kParentsPerRequest = 200;  // the server's limit

}  // namespace

std::string nodeIdText(const UA_NodeId& id) {
    OwnedString printed;
    if (UA_NodeId_print(&id, printed.get()) != UA_STATUSCODE_GOOD) throw UaError("out of memory");
    return std::string(textOf(*printed));
}

NodeListing::NodeListing(UaConnection& connection) {
    std::vector<UA_NodeId> level{UA_NODEID_NUMERIC(0, UA_NS0ID_OBJECTSFOLDER)};
    while (!level.empty()) {
        std::vector<UA_NodeId> next;
        for (std::size_t begin = 0; begin < level.size(); begin += kParentsPerRequest) {
            const std::size_t end = std::min(level.size(), begin + kParentsPerRequest);
            const auto first = level.begin();
            const auto children = browse(connection, {first + static_cast<std::ptrdiff_t>(begin),
                                                      first + static_cast<std::ptrdiff_t>(end)});
            next.insert(next.end(), children.begin(), children.end());
        }
        level = std::move(next);
    }
    std::sort(lines_.begin(), lines_.end());
    std::vector<std::pair<std::string, UA_NodeId>> byText;
    byText.reserve(variables_.size());
    for (const UA_NodeId& id : variables_) {
        byText.emplace_back(nodeIdText(id), id);
    }
    std::sort(byText.begin(), byText.end(), [](const auto& a, const auto& b) {
        return ::strverscmp(a.first.c_str(), b.first.c_str()) < 0;
    });
    std::transform(byText.begin(), byText.end(), variables_.begin(),
                   [](const auto& entry) { return entry.second; });
}

std::vector<UA_NodeId> NodeListing::browse(UaConnection& connection,
                                           const std::vector<UA_NodeId>& parents) {
    UaHandle<UA_BrowseRequest, UA_TYPES_BROWSEREQUEST> request;
    request->nodesToBrowse = static_cast<UA_BrowseDescription*>(
        UA_Array_new(parents.size(), &UA_TYPES[UA_TYPES_BROWSEDESCRIPTION]));
    if (request->nodesToBrowse == nullptr) throw UaError("out of memory");
    request->nodesToBrowseSize = parents.size();
    for (std::size_t i = 0; i < parents.size(); ++i) {
        UA_BrowseDescription& wanted = request->nodesToBrowse[i];
        if (UA_NodeId_copy(&parents[i], &wanted.nodeId) != UA_STATUSCODE_GOOD) {
            throw UaError("out of memory");
        }
        wanted.referenceTypeId = UA_NODEID_NUMERIC(0, UA_NS0ID_HIERARCHICALREFERENCES);
        wanted.includeSubtypes = true;
        wanted.resultMask = UA_BROWSERESULTMASK_ALL;
    }
    UaHandle<UA_BrowseResponse, UA_TYPES_BROWSERESPONSE> response;
    connection.call(request, response);
    if (response->resultsSize != parents.size()) throw UaError("Browse: wrong number of results");
    std::vector<UA_NodeId> children;
    for (std::size_t i = 0; i < parents.size(); ++i) {
        UA_BrowseResult& result = response->results[i];
        // A session has few continuation points; this node is retried when the others are released.
        if (result.statusCode == UA_STATUSCODE_BADNOCONTINUATIONPOINTS && parents.size() > 1) {
            const auto late = browse(connection, {parents[i]});
            children.insert(children.end(), late.begin(), late.end());
        } else {
            addAll(connection, parents[i], result, children);
        }
    }
    return children;
}

void NodeListing::addAll(UaConnection& connection, const UA_NodeId& parent, UA_BrowseResult& result,
                         std::vector<UA_NodeId>& children) {
    if (result.statusCode != UA_STATUSCODE_GOOD) {
        throw UaError("Browse: " + nodeIdText(parent) + ": " +
                      UA_StatusCode_name(result.statusCode));
    }
    for (std::size_t j = 0; j < result.referencesSize; ++j) {
        add(parent, result.references[j], children);
    }
    if (result.continuationPoint.length == 0) return;
    UaHandle<UA_BrowseNextRequest, UA_TYPES_BROWSENEXTREQUEST> request;
    request->continuationPoints =
        static_cast<UA_ByteString*>(UA_Array_new(1, &UA_TYPES[UA_TYPES_BYTESTRING]));
    if (request->continuationPoints == nullptr) throw UaError("out of memory");
    request->continuationPointsSize = 1;
    std::swap(request->continuationPoints[0], result.continuationPoint);
    UaHandle<UA_BrowseNextResponse, UA_TYPES_BROWSENEXTRESPONSE> response;
    connection.call(request, response);
    if (response->resultsSize != 1) throw UaError("BrowseNext: wrong number of results");
    addAll(connection, parent, response->results[0], children);
}

void NodeListing::add(const UA_NodeId& parent, UA_ReferenceDescription& reference,
                      std::vector<UA_NodeId>& children) {
    if (reference.nodeId.nodeId.namespaceIndex == 0) return;  // the Server object and the like
    const UA_NodeId target = *ids_.emplace_back(std::exchange(reference.nodeId.nodeId, {}));
    std::string line =
        nodeIdText(parent) + " " + nodeIdText(reference.referenceTypeId) + " " + nodeIdText(target);
    for (const UA_String* text :
         {&reference.browseName.name, &reference.displayName.locale, &reference.displayName.text}) {
        line.append(" ").append(textOf(*text));
    }
    line += " class " + std::to_string(reference.nodeClass) + " type " +
            nodeIdText(reference.typeDefinition.nodeId);
    lines_.push_back(std::move(line));
    (reference.nodeClass == UA_NODECLASS_VARIABLE ? variables_ : children).push_back(target);
}

}  // namespace bench
