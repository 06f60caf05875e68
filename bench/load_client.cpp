// Loads a server on this machine and prints what it measured as JSON; started by bench/run.
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <string>
#include <thread>

#include <CLI/CLI.hpp>

#include "load_commands.h"
#include "node_listing.h"
#include "ua_connection.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;  // CLOCK_MONOTONIC, as the caller's

// The first service after the session: any server has this array.
void readNamespaceArray(bench::UaConnection& connection) {
    bench::Owned<UA_ReadRequest> request(UA_TYPES_READREQUEST);
    request->nodesToRead = UA_ReadValueId_new();
    if (request->nodesToRead == nullptr) throw bench::UaError("out of memory");
    request->nodesToReadSize = 1;
    request->nodesToRead->nodeId = UA_NODEID_NUMERIC(0, UA_NS0ID_SERVER_NAMESPACEARRAY);
    request->nodesToRead->attributeId = UA_ATTRIBUTEID_VALUE;
    bench::Owned<UA_ReadResponse> response(UA_TYPES_READRESPONSE);
    connection.call(request, response);
    if (response->resultsSize != 1 || !response->results->hasValue) {
        throw bench::UaError("Read: no value");
    }
}

// Tries until a server answers a read, and prints when that was.
void awaitFirstRead(std::uint16_t port, double deadlineSeconds) {
    const auto deadline = Clock::now() + std::chrono::duration<double>(deadlineSeconds);
    while (true) {
        try {
            bench::UaConnection connection(port);
            readNamespaceArray(connection);
            const auto now = std::chrono::nanoseconds(Clock::now().time_since_epoch()).count();
            std::printf(R"({"monotonic_ns": %lld})"
                        "\n",
                        static_cast<long long>(now));
            return;
        } catch (const bench::UaError& error) {
            if (Clock::now() > deadline) {
                throw bench::UaError(std::string("no answer in time; last: ") + error.what());
            }
        }
        std::this_thread::sleep_for(200us);
    }
}

void printListing(std::uint16_t port) {
    bench::UaConnection connection(port);
    const bench::NodeListing listing(connection);
    for (const std::string& line : listing.lines()) {
        std::puts(line.c_str());
    }
}

void addAwait(CLI::App& app, const std::uint16_t& port) {
    static double deadlineSeconds = 60;
    CLI::App* command = app.add_subcommand(
        "await", "wait for the first answered read; prints its CLOCK_MONOTONIC time");
    command->add_option("--deadline", deadlineSeconds, "seconds to try")->capture_default_str();
    command->callback([&port] { awaitFirstRead(port, deadlineSeconds); });
}

void addRead(CLI::App& app, const std::uint16_t& port, const int& pid) {
    static bench::ReadLoad load;
    CLI::App* command = app.add_subcommand("read", "values per second of saturating reads");
    command->add_option("--nodes", load.nodesPerRequest, "nodes a request")
        ->capture_default_str()
        ->check(CLI::Range(1, 10'000));
    command->add_option("--seconds", load.seconds, "length of the measurement")
        ->capture_default_str();
    command->callback([&] { bench::loadReads(port, pid, load); });
}

void addSubscribe(CLI::App& app, const std::uint16_t& port, const int& pid) {
    static bench::SubscribeLoad load;
    CLI::App* command = app.add_subcommand("subscribe", "processor time of a subscription");
    command->add_option("--items", load.items, "monitored items")->capture_default_str();
    command->add_option("--seconds", load.seconds, "length of the measurement")
        ->capture_default_str();
    command->callback([&] { bench::loadSubscription(port, pid, load); });
}

int run(int argc, char** argv) {
    std::uint16_t port = 4840;
    int serverPid = 0;
    CLI::App app{"Loads an OPC UA server on 127.0.0.1 and prints the measurement as JSON."};
    app.require_subcommand(1);
    app.fallthrough();
    app.add_option("--port", port, "TCP port")->capture_default_str();
    app.add_option("--server-pid", serverPid, "process whose time is counted");
    addAwait(app, port);
    addRead(app, port, serverPid);
    addSubscribe(app, port, serverPid);
    app.add_subcommand("list", "print the published tree, one sorted line a node")->callback([&] {
        printListing(port);
    });
    CLI11_PARSE(app, argc, argv);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "bench_load_client: %s\n", error.what());
        return 1;
    }
}
