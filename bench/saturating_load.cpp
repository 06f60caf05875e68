#include "bench/saturating_load.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>

#include "bench/process_time.h"

namespace bench {
namespace {

// Enough requests that the server has work even while the client's core is briefly busy with
// something else.
std::size_t outstandingFor(std::size_t valuesPerRequest) {
    return std::clamp<std::size_t>(10'000 / valuesPerRequest, 10, 500);
}

/// One server under load, and what it delivered in each slice.
class LoadedServer {
  public:
    LoadedServer(const Target& target, const std::function<Workload(UaConnection&)>& prepare)
        : pid_(target.pid), connection_(target.port), work_(prepare(connection_)) {
        rehearse();
    }

    void runSlice(double seconds);
    /// Runs until this many requests were answered.
    void runRequests(std::size_t requests);
    /// The results as a JSON object.
    std::string json() const;

  private:
    void rehearse();
    void postNext() { (void)connection_.post(work_.requests[sent_++ % work_.requests.size()]); }
    void takeAnswer();

    int pid_;
    UaConnection connection_;
    Workload work_;
    std::vector<std::size_t> sizes_;  // of the answers, by request
    std::size_t sent_ = 0;            // equal to answered_ between slices
    std::size_t answered_ = 0;
    std::size_t bytes_ = 0;
    std::string slices_;
};

/// Sends every request once, checks every answer, and keeps its length.
void LoadedServer::rehearse() {
    for (const PreparedRequest& request : work_.requests) {
        const std::uint32_t id = connection_.post(request);
        RawResponse raw;
        (void)connection_.nextResponse(raw);
        if (raw.requestId != id) throw UaError("the answer of another request");
        work_.check(raw);
        sizes_.push_back(raw.body.length);
    }
}

void LoadedServer::takeAnswer() {
    RawResponse response;
    (void)connection_.nextResponse(response);
    if (response.body.length != sizes_[answered_ % sizes_.size()]) {
        throw UaError("an answer of another length than before");
    }
    ++answered_;
    bytes_ += response.body.length;
}

void LoadedServer::runSlice(double seconds) {
    const std::size_t before = answered_;
    const std::size_t outstanding = outstandingFor(work_.valuesPerRequest);
    for (std::size_t i = 0; i < outstanding; ++i) {
        postNext();
    }
    const ProcessWindow window(pid_);
    while (window.elapsed() < seconds) {
        takeAnswer();
        postNext();
    }
    const std::size_t values = (answered_ - before) * work_.valuesPerRequest;
    if (!slices_.empty()) slices_ += ", ";
    slices_ += R"({"values": )" + std::to_string(values) + ", " + window.json() + "}";
    while (answered_ < sent_) {
        takeAnswer();
    }
}

void LoadedServer::runRequests(std::size_t requests) {
    const std::size_t end = sent_ + requests;
    const std::size_t outstanding = outstandingFor(work_.valuesPerRequest);
    const ProcessWindow window(pid_);
    while (answered_ < end) {
        while (sent_ < end && sent_ - answered_ < outstanding)
            postNext();
        takeAnswer();
    }
    slices_ = R"({"values": )" + std::to_string(requests * work_.valuesPerRequest) + ", " +
              window.json() + "}";
}

std::string LoadedServer::json() const {
    const double perValue = static_cast<double>(bytes_) /
                            static_cast<double>(std::max<std::size_t>(answered_, 1)) /
                            static_cast<double>(work_.valuesPerRequest);
    return R"({"bytes_per_value": )" + std::to_string(perValue) + R"(, "slices": [)" + slices_ +
           "]}";
}

}  // namespace

void loadSaturating(const std::vector<Target>& targets, const LoadTimes& times,
                    const std::function<Workload(UaConnection&)>& prepare) {
    std::vector<std::unique_ptr<LoadedServer>> servers;
    servers.reserve(targets.size());
    for (const Target& target : targets) {
        servers.push_back(std::make_unique<LoadedServer>(target, prepare));
    }
    if (times.requests != 0) {
        for (const auto& server : servers)
            server->runRequests(times.requests);
    }
    // An even number, after which the servers are in their original order again.
    const auto rounds = times.requests != 0
                            ? 0
                            : 2 * std::max(1L, std::lround(times.seconds / times.sliceSeconds / 2));
    for (long round = 0; round < rounds; ++round) {
        for (const auto& server : servers) {
            server->runSlice(times.sliceSeconds);
        }
        std::reverse(servers.begin(), servers.end());  // A B B A: neither always comes first
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
