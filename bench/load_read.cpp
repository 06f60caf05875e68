#include <algorithm>
#include <cstdio>
#include <span>
#include <string>
#include <vector>

#include "load_commands.h"
#include "node_listing.h"
#include "process_time.h"
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

// Sends every request once and looks at every value. The length of each answer, which the answers
// of the measurement are then held against: they are not decoded.
std::vector<std::size_t> rehearse(UaConnection& connection, const Requests& requests,
                                  std::size_t nodesPerRequest) {
    std::vector<std::size_t> sizes;
    for (const PreparedRequest& request : requests) {
        const std::uint32_t id = connection.post(request);
        RawResponse raw;
        (void)connection.nextResponse(raw);
        Owned<UA_ReadResponse> response(UA_TYPES_READRESPONSE);
        UaConnection::decode(raw, response);
        if (raw.requestId != id || response->resultsSize != nodesPerRequest) {
            throw UaError("Read: wrong answer");
        }
        for (const UA_DataValue& value : std::span(response->results, response->resultsSize)) {
            if (!value.hasValue || !value.hasStatus || !value.hasSourceTimestamp ||
                !UA_Variant_hasScalarType(&value.value, &UA_TYPES[UA_TYPES_FLOAT])) {
                throw UaError("Read: not a Float with status and source time");
            }
        }
        sizes.push_back(raw.body.length);
    }
    return sizes;
}

// So many that the server has work while the client's core is busy with something else for a
// moment.
std::size_t outstandingFor(std::size_t nodesPerRequest) {
    return std::clamp<std::size_t>(10'000 / nodesPerRequest, 10, 500);
}

}  // namespace

void loadReads(std::uint16_t port, int serverPid, const ReadLoad& load) {
    UaConnection connection(port);
    const NodeListing listing(connection);
    const Requests requests = prepareReads(connection, listing.variables(), load.nodesPerRequest);
    const auto sizes = rehearse(connection, requests, load.nodesPerRequest);

    std::size_t sent = 0;
    const auto postNext = [&] { (void)connection.post(requests[sent++ % requests.size()]); };
    const std::size_t outstanding = outstandingFor(load.nodesPerRequest);
    while (sent < outstanding) {
        postNext();
    }
    std::size_t answered = 0;
    std::size_t bytes = 0;
    const ProcessWindow window(serverPid);
    while (window.elapsed() < load.seconds) {
        RawResponse response;
        (void)connection.nextResponse(response);
        if (response.body.length != sizes[answered % sizes.size()]) {
            throw UaError("Read: an answer of another length than before");
        }
        ++answered;
        bytes += response.body.length;
        postNext();
    }
    const std::string times = window.json();
    for (std::size_t late = answered; late < sent; ++late) {  // so that the session can be closed
        RawResponse response;
        (void)connection.nextResponse(response);
    }
    const std::size_t values = answered * load.nodesPerRequest;
    std::printf(R"({"values": %zu, %s, "bytes_per_value": %.2f})"
                "\n",
                values, times.c_str(),
                values == 0 ? 0.0 : static_cast<double>(bytes) / static_cast<double>(values));
}

}  // namespace bench
