#pragma once

#include <open62541/plugin/historydata/history_data_backend.h>
#include <open62541/plugin/historydata/history_data_gathering.h>
#include <open62541/server.h>

/// Puts the trend archive behind the library's history service. Lives until the server's loop has
/// ended.
class HistoryAccess {
  public:
    /// Makes the library's history database. Before the endpoint is set up.
    void install(UA_Server* server);

    /// Announces to clients that there is history, if the tree has pens. After it was built.
    void announce(UA_Server* server) const;

    // What the tree registers its pens with.
    UA_HistoryDataBackend& backend() { return backend_; }
    UA_HistoryDataGathering& gathering() { return gathering_; }
    UA_HistorizingNodeIdSettings& settings() { return settings_; }

  private:
    UA_HistoryDataBackend backend_{};
    /// Shares its memory with the one that the history database owns.
    UA_HistoryDataGathering gathering_{};
    UA_HistorizingNodeIdSettings settings_{};
};
