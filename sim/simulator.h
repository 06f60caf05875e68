#pragma once

#include <chrono>
#include <csignal>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>

#include "sim/cycle_stats.h"
#include "sim/journal/event_journal.h"
#include "sim/memory/controller_ipc.h"
#include "sim/options.h"
#include "sim/plant/plant.h"
#include "sim/site/site.h"
#include "sim/trends/trend_recorder.h"

namespace sim {

/// The simulated controller from its first message to its clean end. One thread: it answers
/// requests while it waits for the next cycle.
class Simulator {
  public:
    /// @param stop  becomes non-zero when the program must end; checked between all steps
    Simulator(Options options, std::ostream& out, const volatile std::sig_atomic_t& stop);

    /// Sets everything up, prints "zrtsim: ready", runs until `stop`, and removes what it made.
    /// Throws Failure when it cannot start; nothing is left behind then either.
    void run();

  private:
    using Clock = std::chrono::steady_clock;

    void readConfig();
    void placeFiles(Site& site);
    void placeServerIni(Site& site);
    void placeTrendsIni(Site& site);
    void readCycleTime(const Site& site);
    [[nodiscard]] std::unique_ptr<TrendRecorder> makeRecorder(Site& site,
                                                              const DatabaseMemory& memory);
    void startTrends(TrendRecorder& trends, Plant& plant, const Folders& folders);
    void cycleUntilStopped(ControllerIpc& ipc, Plant& plant, TrendRecorder& trends,
                           EventJournal& journal);
    void answerUntil(vs_obj& channel, Clock::time_point next);
    void printStats(Clock::time_point now);

    Options options_;
    std::ostream& out_;
    const volatile std::sig_atomic_t& stop_;
    std::optional<std::string> config_;  // bytes of the file of --config
    std::chrono::milliseconds cycle_{};
    CycleStats stats_;
    Clock::time_point nextStats_;
    Clock::time_point lastRequest_;
};

}  // namespace sim
