#pragma once

#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>

#include "tools/opcuaweb/basics/limits.h"
#include "tools/opcuaweb/basics/places.h"
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
    Places walks{kMostWalks};  ///< for answers that list all variables below a node

  private:
    void tick();
    void refreshFindings();
    [[nodiscard]] bool waitForTick();

    mutable std::mutex mutex_;  // guards the two below
    Json findings_;
    bool stopping_ = false;
    std::condition_variable stopped_;
    std::thread ticker_;
};

}  // namespace tools::opcuaweb
