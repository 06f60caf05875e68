#include <span>
#include <vector>

#include "load_commands.h"
#include "node_listing.h"
#include "saturating_load.h"
#include "ua_connection.h"

namespace bench {
namespace {

using Requests = std::vector<PreparedRequest>;

PreparedRequest prepareRead(UaConnection& connection, std::span<const UA_NodeId> nodes) {
    Owned<UA_ReadRequest> request(UA_TYPES_READREQUEST);
    request->timestampsToReturn = UA_TIMESTAMPSTORETURN_SOURCE;
    request->nodesToRead =
        static_cast<UA_ReadValueId*>(UA_Array_new(nodes.size(), &UA_TYPES[UA_TYPES_READVALUEID]));
    if (request->nodesToRead == nullptr) throw UaError("out of memory");
    request->nodesToReadSize = nodes.size();
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        request->nodesToRead[i].attributeId = UA_ATTRIBUTEID_VALUE;
        if (UA_NodeId_copy(&nodes[i], &request->nodesToRead[i].nodeId) != UA_STATUSCODE_GOOD) {
            throw UaError("out of memory");
        }
    }
    return connection.prepare(request);
}

// Whole requests only: the nodes left over are not read.
Requests prepareReads(UaConnection& connection, const std::vector<UA_NodeId>& nodes,
                      std::size_t nodesPerRequest) {
    Requests requests;
    const std::span<const UA_NodeId> all(nodes);
    for (std::size_t at = 0; at + nodesPerRequest <= all.size(); at += nodesPerRequest) {
        requests.push_back(prepareRead(connection, all.subspan(at, nodesPerRequest)));
    }
    if (requests.empty()) throw UaError("the server has fewer variables than one request reads");
    return requests;
}

void checkRead(const RawResponse& raw, std::size_t nodesPerRequest) {
    Owned<UA_ReadResponse> response(UA_TYPES_READRESPONSE);
    UaConnection::decode(raw, response);
    if (response->resultsSize != nodesPerRequest) throw UaError("Read: wrong answer");
    for (const UA_DataValue& value : std::span(response->results, response->resultsSize)) {
        if (!value.hasValue || !value.hasStatus || !value.hasSourceTimestamp ||
            !UA_Variant_hasScalarType(&value.value, &UA_TYPES[UA_TYPES_FLOAT])) {
            throw UaError("Read: not a Float with status and source time");
        }
    }
}

}  // namespace

void loadReads(const std::vector<Target>& targets, const ReadLoad& load) {
    const std::size_t nodes = load.nodesPerRequest;
    loadSaturating(targets, load.times, [nodes](UaConnection& connection) {
        const NodeListing listing(connection);
        return Workload{prepareReads(connection, listing.variables(), nodes), nodes,
                        [nodes](const RawResponse& raw) { checkRead(raw, nodes); }};
    });
}

}  // namespace bench
