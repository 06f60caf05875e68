#pragma once

#include <atomic>
#include <optional>
#include <thread>

#include "tools/opcuaweb/controller/configuration.h"
#include "tools/opcuaweb/controller/journal_feed.h"
#include "tools/opcuaweb/opcua/asker.h"
#include "tools/opcuaweb/opcua/live.h"
#include "tools/opcuaweb/opcua/server_state.h"
#include "tools/opcuaweb/opcua/writes.h"
#include "tools/opcuaweb/options/options.h"
#include "tools/opcuaweb/streams/browsers.h"
#include "tools/opcuaweb/tree/sweep.h"
#include "tools/opcuaweb/tree/tree_index.h"

namespace tools::opcuaweb {

/// Everything behind the page: the two sessions, what they learn, journal and configuration.
class Services {
  public:
    explicit Services(const Options& options);
    ~Services();
    Services(const Services&) = delete;
    Services& operator=(const Services&) = delete;

    /// Starts the threads. A server that is not there is waited for.
    void start();
    /// Ends streams and threads; waits for them.
    void stop();

    /// What the event "hello" shows.
    [[nodiscard]] Json hello(const Browser& browser) const;
    /// What the event "overview" shows.
    [[nodiscard]] Json overview() const;

    // In the order of their construction; each may use those above it.
    const Options options;
    Browsers browsers;
    Asker asker;
    Live live;
    TreeIndex index;
    Sweep sweep;
    ServerState serverState;
    Writes writes;
    std::optional<JournalFeed> journal;          ///< with --journal
    std::optional<Configuration> configuration;  ///< with --config

  private:
    void tick();

    mutable std::mutex mutex_;  // guards the one below
    Json findings_;
    std::atomic<bool> stopping_ = false;
    std::thread ticker_;
};

}  // namespace tools::opcuaweb
