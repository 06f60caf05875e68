#pragma once

#include <open62541/plugin/historydata/history_data_backend.h>
#include <open62541/plugin/historydata/history_data_gathering.h>
#include <open62541/server.h>

/// Connects the trend archive to the library's history service. Must live until the server's loop
/// has ended.
class HistoryAccess {
  public:
    /// Makes the library's history database. Call it before the endpoint is set up.
    void install(UA_Server* server);

    /// Announces history to clients if the tree has pens. Call it after the tree was built.
    void announce(UA_Server* server) const;

    // What the tree registers its pens with.
    UA_HistoryDataBackend& backend() { return backend_; }
    UA_HistoryDataGathering& gathering() { return gathering_; }
    UA_HistorizingNodeIdSettings& settings() { return settings_; }

  private:
    UA_HistoryDataBackend backend_{};
    /// Shares its memory with the history database's own copy.
    UA_HistoryDataGathering gathering_{};
    UA_HistorizingNodeIdSettings settings_{};
};
