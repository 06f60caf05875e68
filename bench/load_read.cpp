#include <random>
#include <span>
#include <vector>

#include "bench/load_commands.h"
#include "bench/node_listing.h"
#include "bench/read_requests.h"
#include "bench/saturating_load.h"
#include "bench/ua_connection.h"

namespace bench {
namespace {

using Requests = std::vector<PreparedRequest>;

// Whole requests only: the nodes left over are not read.
Requests prepareReads(UaConnection& connection, std::span<const UA_NodeId> all,
                      std::size_t nodesPerRequest) {
    Requests requests;
    for (std::size_t at = 0; at + nodesPerRequest <= all.size(); at += nodesPerRequest) {
        requests.push_back(prepareRead(connection, all.subspan(at, nodesPerRequest)));
    }
    if (requests.empty()) throw UaError("the server has fewer variables than one request reads");
    return requests;
}

void checkRead(const RawResponse& raw, std::size_t nodesPerRequest) {
    UaHandle<UA_ReadResponse, UA_TYPES_READRESPONSE> response;
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
    const bool random = load.randomOrder;
    loadSaturating(targets, load.times, [nodes, random](UaConnection& connection) {
        const NodeListing listing(connection);
        std::vector<UA_NodeId> order = listing.variables();  // views
        if (random) std::shuffle(order.begin(), order.end(), std::mt19937(1));
        return Workload{prepareReads(connection, order, nodes), nodes,
                        [nodes](const RawResponse& raw) { checkRead(raw, nodes); }};
    });
}

}  // namespace bench
