#pragma once

#include <open62541/plugin/historydata/history_data_backend.h>
#include <open62541/plugin/historydata/history_data_gathering.h>
#include <open62541/types.h>

class UAServer;

/// Brings the trend archive to the clients: puts it behind the library's history service and builds
/// the tree of its plotters. Lives until the server's loop has ended.
class HistoryAccess {
  public:
    /// Makes the library's history database. Before the endpoint is set up.
    void install(UAServer& server);

    /// Builds the tree and, if it has pens, announces to clients that there is history.
    /// @return as UAServer::initializeHistoryTree
    UA_StatusCode build(UAServer& server);

  private:
    UA_HistoryDataBackend backend_{};
    /// Shares its memory with the one that the history database owns.
    UA_HistoryDataGathering gathering_{};
    UA_HistorizingNodeIdSettings settings_{};
};
