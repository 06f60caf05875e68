#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace bench {

/// A server on this machine, and the process whose time is counted for it.
struct Target {
    std::uint16_t port = 0;
    int pid = 0;
};

struct LoadTimes {
    double seconds = 2.0;       // for each server
    double sliceSeconds = 0.1;  // at a stretch, before the next server has its turn
    std::size_t requests = 0;   // when not 0, each server answers so many, whatever time it takes
};

struct ReadLoad {
    std::size_t nodesPerRequest = 1000;
    bool randomOrder = false;  // the same in every run; otherwise tag after tag
    LoadTimes times;
};

/// Pens are those of plotter 1, named by number as all pens of a plotter are.
struct HistoryLoad {
    std::size_t pens = 10;
    std::size_t values = 1000;  // in each answer
    LoadTimes times;
};

struct WriteLoad {
    std::size_t tags = 100;  // analog inputs, whose values are written, all in one request
    LoadTimes times;
};

struct WaitLoad {
    std::size_t pens = 10;   // read in one request, again and again; 0 reads no history
    std::size_t silent = 0;  // connections that ask for megabytes and read none of them
    double seconds = 5.0;
};

struct SubscribeLoad {
    std::size_t items = 10'000;
    double seconds = 5.0;
    std::size_t changes =
        0;  // when not 0, until so many changed values came, whatever time it takes
};

/// The client whose waits count: 100 values every 50 ms, and 500 items at 500 ms.
struct OrdinaryLoad {
    double seconds = 30.0;
};

/// Clients of all kinds at once; beside the subscribers a few each that misbehave.
struct CrowdLoad {
    std::size_t sessions = 50;        // that subscribe
    std::size_t subscriptions = 100;  // of all of them, shared out evenly
    std::size_t items = 100'000;      // likewise
};

// The commands of bench_load_client. Each prints one JSON object on standard output and throws
// UaError or std::runtime_error when it cannot measure.

/// Values that each server delivers while requests always wait for it, reading the tree's variables
/// in turn. The servers take turns slice by slice, so that what else happens on the machine meets
/// all alike.
void loadReads(const std::vector<Target>& targets, const ReadLoad& load);

/// As loadReads, raw history reads of one pen each.
void loadHistory(const std::vector<Target>& targets, const HistoryLoad& load);

/// As loadReads, writes of floats.
void loadWrites(const std::vector<Target>& targets, const WriteLoad& load);

/// How long live reads and notifications wait for a server whose history is read at the same time,
/// or beside clients that do not read its answers.
void measureWaits(const Target& target, const WaitLoad& load);

/// How long an ordinary client waits, and how much of that time the server ran. Ends with an error
/// when the server disconnects it.
void measureOrdinary(const Target& target, const OrdinaryLoad& load);

/// Everything at once, until standard input ends. Prints "ready" when all subscribers have their
/// first values, and at the end what came of it.
void runCrowd(const Target& target, const CrowdLoad& load);

/// Processor time that a server spends on subscriptions of at most 10 000 items each, every one
/// with a session of its own, once the first values have been sent.
void loadSubscription(const Target& target, const SubscribeLoad& load);

}  // namespace bench
