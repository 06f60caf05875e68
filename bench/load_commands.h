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
    double sliceSeconds = 0.1;  // without interruption, before the next server has its turn
    std::size_t requests = 0;   // if not 0, each server answers this many, however long it takes
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
    std::size_t pens = 10;   // read in one request, repeatedly; 0 reads no history
    std::size_t silent = 0;  // connections that ask for megabytes and read none of them
    double seconds = 5.0;
};

struct SubscribeLoad {
    std::size_t items = 10'000;
    double seconds = 5.0;
    std::size_t changes =
        0;  // if not 0, until this many changed values arrived, however long it takes
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

/// Values that each server delivers while requests are always waiting, reading the tree's variables
/// in turn. The servers take turns slice by slice, so that the machine's other load affects all of
/// them equally.
void loadReads(const std::vector<Target>& targets, const ReadLoad& load);

/// As loadReads, with raw history reads of one pen each.
void loadHistory(const std::vector<Target>& targets, const HistoryLoad& load);

/// As loadReads, with writes of floats.
void loadWrites(const std::vector<Target>& targets, const WriteLoad& load);

/// How long live reads and notifications wait for a server whose history is read at the same time,
/// or beside clients that do not read its answers.
void measureWaits(const Target& target, const WaitLoad& load);

/// How long an ordinary client waits, and how much of that time the server ran. Ends with an error
/// when the server disconnects it.
void measureOrdinary(const Target& target, const OrdinaryLoad& load);

/// Everything at once, until standard input ends. Prints "ready" when all subscribers have their
/// first values, and the results at the end.
void runCrowd(const Target& target, const CrowdLoad& load);

/// Processor time that a server spends on subscriptions of at most 10 000 items, each in its own
/// session, once the first values were sent.
void loadSubscription(const Target& target, const SubscribeLoad& load);

}  // namespace bench
