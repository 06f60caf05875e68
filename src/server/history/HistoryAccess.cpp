#include "server/history/HistoryAccess.h"

#include <open62541/plugin/historydata/history_data_gathering_default.h>
#include <open62541/plugin/historydata/history_database_default.h>

#include "server/UAServer.h"
#include "server/history/HistoryBackend.h"
#include "server/history/HistoryCapabilities.h"

void HistoryAccess::install(UAServer& server) {
    backend_ = UA_HistoryDataBackend_RTEX();
    gathering_ = UA_HistoryDataGathering_Default(1);
    UA_HistoryDataGathering ofDatabase = gathering_;
    // The library would report every write of any variable to the history: it looks the node up
    // among all pens, one by one, for a backend that drops the value. Without this member it does
    // not look.
    ofDatabase.setValue = nullptr;
    UA_Server_getConfig(server.instance())->historyDatabase =
        UA_HistoryDatabase_default(ofDatabase);
}

UA_StatusCode HistoryAccess::build(UAServer& server) {
    // A capability that cannot be told is no reason to go without history.
    (void)announceHistory(server.instance(), maxCountHistoryTrends);
    return server.initializeHistoryTree(backend_, gathering_, settings_);
}
