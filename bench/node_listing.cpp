#include "bench/node_listing.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <utility>

#include <open62541/nodeids.h>

#include "bench/ua_connection.h"

namespace bench {
namespace {

constexpr std::size_t kParentsPerRequest = 200;  // the server's limit

std::string_view view(const UA_String& s) {
    return {reinterpret_cast<const char*>(s.data), s.length};
}

}  // namespace

std::string nodeIdText(const UA_NodeId& id) {
    UA_String printed = UA_STRING_NULL;
    if (UA_NodeId_print(&id, &printed) != UA_STATUSCODE_GOOD) throw UaError("out of memory");
    std::string text(view(printed));
    UA_String_clear(&printed);
    return text;
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

NodeListing::~NodeListing() {
    for (auto* ids : {&variables_, &inner_}) {
        for (UA_NodeId& id : *ids) {
            UA_NodeId_clear(&id);
        }
    }
}

std::vector<UA_NodeId> NodeListing::browse(UaConnection& connection,
                                           const std::vector<UA_NodeId>& parents) {
    Owned<UA_BrowseRequest> request(UA_TYPES_BROWSEREQUEST);
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
    Owned<UA_BrowseResponse> response(UA_TYPES_BROWSERESPONSE);
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
    Owned<UA_BrowseNextRequest> request(UA_TYPES_BROWSENEXTREQUEST);
    request->continuationPoints =
        static_cast<UA_ByteString*>(UA_Array_new(1, &UA_TYPES[UA_TYPES_BYTESTRING]));
    if (request->continuationPoints == nullptr) throw UaError("out of memory");
    request->continuationPointsSize = 1;
    std::swap(request->continuationPoints[0], result.continuationPoint);
    Owned<UA_BrowseNextResponse> response(UA_TYPES_BROWSENEXTRESPONSE);
    connection.call(request, response);
    if (response->resultsSize != 1) throw UaError("BrowseNext: wrong number of results");
    addAll(connection, parent, response->results[0], children);
}

void NodeListing::add(const UA_NodeId& parent, UA_ReferenceDescription& reference,
                      std::vector<UA_NodeId>& children) {
    UA_NodeId& target = reference.nodeId.nodeId;
    if (target.namespaceIndex == 0) return;  // the Server object and the like
    std::string line =
        nodeIdText(parent) + " " + nodeIdText(reference.referenceTypeId) + " " + nodeIdText(target);
    for (const UA_String* text :
         {&reference.browseName.name, &reference.displayName.locale, &reference.displayName.text}) {
        line.append(" ").append(view(*text));
    }
    line += " class " + std::to_string(reference.nodeClass) + " type " +
            nodeIdText(reference.typeDefinition.nodeId);
    lines_.push_back(std::move(line));
    const bool variable = reference.nodeClass == UA_NODECLASS_VARIABLE;
    (variable ? variables_ : inner_).push_back(target);
    if (!variable) children.push_back(target);
    UA_NodeId_init(&target);  // taken over
}

}  // namespace bench
