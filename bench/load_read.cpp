#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
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

/// One server under load, and what it has delivered slice by slice.
class LoadedServer {
  public:
    LoadedServer(const Target& target, const ReadLoad& load)
        : pid_(target.pid), nodesPerRequest_(load.nodesPerRequest), connection_(target.port) {
        const NodeListing listing(connection_);
        requests_ = prepareReads(connection_, listing.variables(), nodesPerRequest_);
        sizes_ = rehearse(connection_, requests_, nodesPerRequest_);
    }

    void runSlice(double seconds);
    /// The results as a JSON object.
    std::string json() const;

  private:
    void postNext() { (void)connection_.post(requests_[sent_++ % requests_.size()]); }
    void takeAnswer();

    int pid_;
    std::size_t nodesPerRequest_;
    UaConnection connection_;
    Requests requests_;
    std::vector<std::size_t> sizes_;  // of the answers, by request
    std::size_t sent_ = 0;            // equal to answered_ between slices
    std::size_t answered_ = 0;
    std::size_t bytes_ = 0;
    std::string slices_;
};

void LoadedServer::takeAnswer() {
    RawResponse response;
    (void)connection_.nextResponse(response);
    if (response.body.length != sizes_[answered_ % sizes_.size()]) {
        throw UaError("Read: an answer of another length than before");
    }
    ++answered_;
    bytes_ += response.body.length;
}

void LoadedServer::runSlice(double seconds) {
    const std::size_t before = answered_;
    const std::size_t outstanding = outstandingFor(nodesPerRequest_);
    for (std::size_t i = 0; i < outstanding; ++i) {
        postNext();
    }
    const ProcessWindow window(pid_);
    while (window.elapsed() < seconds) {
        takeAnswer();
        postNext();
    }
    const std::size_t values = (answered_ - before) * nodesPerRequest_;
    if (!slices_.empty()) slices_ += ", ";
    slices_ += R"({"values": )" + std::to_string(values) + ", " + window.json() + "}";
    while (answered_ < sent_) {
        takeAnswer();
    }
}

std::string LoadedServer::json() const {
    const double perValue = static_cast<double>(bytes_) /
                            static_cast<double>(std::max<std::size_t>(answered_, 1)) /
                            static_cast<double>(nodesPerRequest_);
    return R"({"bytes_per_value": )" + std::to_string(perValue) + R"(, "slices": [)" + slices_ +
           "]}";
}

}  // namespace

void loadReads(const std::vector<Target>& targets, const ReadLoad& load) {
    std::vector<std::unique_ptr<LoadedServer>> servers;
    servers.reserve(targets.size());
    for (const Target& target : targets) {
        servers.push_back(std::make_unique<LoadedServer>(target, load));
    }
    // An even number, after which the servers stand in their order again.
    const auto rounds = 2 * std::max(1L, std::lround(load.seconds / load.sliceSeconds / 2));
    for (long round = 0; round < rounds; ++round) {
        for (const auto& server : servers) {
            server->runSlice(load.sliceSeconds);
        }
        std::reverse(servers.begin(), servers.end());  // A B B A: nobody always comes first
    }
    std::string results;
    for (const auto& server : servers) {
        if (!results.empty()) results += ", ";
        results += server->json();
    }
    std::printf(R"({"servers": [%s]})"
                "\n",
                results.c_str());
}

}  // namespace bench
