// Loads a server on this machine and prints what it measured as JSON; started by bench/run.
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <string>
#include <thread>
#include <vector>

#include <CLI/CLI.hpp>

#include "bench/load_commands.h"
#include "bench/node_listing.h"
#include "bench/ua_connection.h"
#include "server/bounds/ConfigBounds.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;  // CLOCK_MONOTONIC, like the caller's clock

// The first service after the session is open; every server has this array.
void readNamespaceArray(bench::UaConnection& connection) {
    UaHandle<UA_ReadRequest, UA_TYPES_READREQUEST> request;
    request->nodesToRead = UA_ReadValueId_new();
    if (request->nodesToRead == nullptr) throw bench::UaError("out of memory");
    request->nodesToReadSize = 1;
    request->nodesToRead->nodeId = UA_NODEID_NUMERIC(0, UA_NS0ID_SERVER_NAMESPACEARRAY);
    request->nodesToRead->attributeId = UA_ATTRIBUTEID_VALUE;
    UaHandle<UA_ReadResponse, UA_TYPES_READRESPONSE> response;
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

// "PORT:PID"; throws what CLI11 shows as a usage error.
bench::Target parseTarget(const std::string& argument) {
    const std::size_t colon = argument.find(':');
    bench::Target target;
    if (colon == std::string::npos ||
        !CLI::detail::lexical_cast(argument.substr(0, colon), target.port) ||
        !CLI::detail::lexical_cast(argument.substr(colon + 1), target.pid)) {
        throw CLI::ValidationError("--server", "\"" + argument + "\" is not PORT:PID");
    }
    return target;
}

/// The program's command line; the commands run while it is parsed.
class CommandLine {
  public:
    CommandLine() {
        app_.require_subcommand(1);
        addAwait();
        addList();
        addRead();
        addHistory();
        addWrite();
        addWait();
        addSubscribe();
        addOrdinary();
        addCrowd();
    }
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    int run(int argc, char** argv) {
        CLI11_PARSE(app_, argc, argv);
        return 0;
    }

  private:
    void addAwait() {
        CLI::App* command = app_.add_subcommand(
            "await", "wait for the first answered read; prints its CLOCK_MONOTONIC time");
        addPort(*command);
        command->add_option("--deadline", deadlineSeconds_, "seconds to try")
            ->capture_default_str();
        command->callback([this] { awaitFirstRead(port_, deadlineSeconds_); });
    }

    void addList() {
        CLI::App* command =
            app_.add_subcommand("list", "print the published tree, sorted, one line per node");
        addPort(*command);
        command->callback([this] { printListing(port_); });
    }

    void addRead() {
        CLI::App* command = app_.add_subcommand("read", "values per second of saturating reads");
        addServers(*command, "servers that take turns, as PORT:PID");
        command->add_option("--nodes", read_.nodesPerRequest, "nodes per request")
            ->capture_default_str()
            ->check(CLI::Range(1, 10'000));
        command->add_flag("--random", read_.randomOrder, "in random order, not tag after tag");
        addTimes(*command, read_.times);
        command->callback([this] { bench::loadReads(targets_, read_); });
    }

    void addHistory() {
        CLI::App* command =
            app_.add_subcommand("history", "values per second of saturating raw history reads");
        addServers(*command, "servers that take turns, as PORT:PID");
        command->add_option("--pens", history_.pens, "pens of plotter 1, read in turn")
            ->capture_default_str();
        command->add_option("--values", history_.values, "values in each answer")
            ->capture_default_str();
        addTimes(*command, history_.times);
        command->callback([this] { bench::loadHistory(targets_, history_); });
    }

    void addWrite() {
        CLI::App* command = app_.add_subcommand("write", "values per second of saturating writes");
        addServers(*command, "servers that take turns, as PORT:PID");
        command->add_option("--tags", write_.tags, "analog inputs written in one request")
            ->capture_default_str();
        addTimes(*command, write_.times);
        command->callback([this] { bench::loadWrites(targets_, write_); });
    }

    void addWait() {
        CLI::App* command = app_.add_subcommand(
            "wait", "how long live reads and notifications wait while history is read");
        addServers(*command, "server as PORT:PID")->expected(1);
        command->add_option("--pens", wait_.pens, "pens in each request; 0 reads no history")
            ->capture_default_str();
        command->add_option("--silent", wait_.silent, "clients that request much and read nothing")
            ->capture_default_str();
        command->add_option("--seconds", wait_.seconds, "length of the measurement")
            ->capture_default_str();
        command->callback([this] { bench::measureWaits(targets_.front(), wait_); });
    }

    void addSubscribe() {
        CLI::App* command = app_.add_subcommand("subscribe", "processor time of a subscription");
        addServers(*command, "server as PORT:PID")->expected(1);
        command->add_option("--items", subscribe_.items, "monitored items")->capture_default_str();
        command->add_option("--seconds", subscribe_.seconds, "length of the measurement")
            ->capture_default_str();
        command->add_option("--changes", subscribe_.changes,
                            "instead: end after this many changed values");
        command->callback([this] { bench::loadSubscription(targets_.front(), subscribe_); });
    }

    void addOrdinary() {
        CLI::App* command = app_.add_subcommand(
            "ordinary",
            "how long a client waits that reads 100 values every 50 ms, and has 500 "
            "items published every 500 ms");
        addServers(*command, "server as PORT:PID")->expected(1);
        command->add_option("--seconds", ordinary_.seconds, "length of the measurement")
            ->capture_default_str();
        command->callback([this] { bench::measureOrdinary(targets_.front(), ordinary_); });
    }

    void addCrowd() {
        CLI::App* command = app_.add_subcommand(
            "crowd",
            "everything at once until standard input ends: subscribers, readers, "
            "reconnects, half-open connections, malformed messages");
        addServers(*command, "server as PORT:PID")->expected(1);
        command->add_option("--sessions", crowd_.sessions, "sessions that subscribe")
            ->capture_default_str();
        command
            ->add_option("--subscriptions", crowd_.subscriptions, "subscriptions of all sessions")
            ->capture_default_str();
        command->add_option("--items", crowd_.items, "monitored items of all subscriptions")
            ->capture_default_str();
        command->callback([this] { bench::runCrowd(targets_.front(), crowd_); });
    }

    static void addTimes(CLI::App& command, bench::LoadTimes& times) {
        command.add_option("--seconds", times.seconds, "length of the measurement of each server")
            ->capture_default_str();
        command.add_option("--requests", times.requests,
                           "instead: this many requests to each server, in one go");
    }

    void addPort(CLI::App& command) {
        command.add_option("--port", port_, "TCP port")->capture_default_str();
    }

    CLI::Option* addServers(CLI::App& command, const std::string& description) {
        return command
            .add_option_function<std::vector<std::string>>(
                "--server",
                [this](const std::vector<std::string>& arguments) {
                    for (const std::string& argument : arguments) {
                        targets_.push_back(parseTarget(argument));
                    }
                },
                description)
            ->required();
    }

    std::uint16_t port_ = kFirstPort;
    double deadlineSeconds_ = 60;
    std::vector<bench::Target> targets_;
    bench::ReadLoad read_;
    bench::HistoryLoad history_;
    bench::WriteLoad write_;
    bench::WaitLoad wait_;
    bench::SubscribeLoad subscribe_;
    bench::OrdinaryLoad ordinary_;
    bench::CrowdLoad crowd_;
    CLI::App app_{"Loads OPC UA servers on 127.0.0.1 and prints the measurement as JSON."};
};

}  // namespace

int main(int argc, char** argv) {
    try {
        return CommandLine().run(argc, argv);
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "bench_load_client: %s\n", error.what());
        return 1;
    }
}
