#include "server/history/HistoryAccess.h"

#include <open62541/plugin/historydata/history_data_gathering_default.h>
#include <open62541/plugin/historydata/history_database_default.h>

#include <cstdint>
#include <cstring>

#include "server/history/HistoryBackend.h"
#include "server/history/HistoryCapabilities.h"
#include "server/history/HistoryRefusals.h"
#include "server/history/RTEXContext.h"
#include "server/limits/Limits.h"

namespace {

using ReadRaw = decltype(UA_HistoryDatabase::readRaw);

ReadRaw readRawOfAll = nullptr;  // the library's; set once, before the server's loop runs

/// The library passes on whatever number a client sent, and refuses those that the archive does not
/// know. One that is not the enumeration's must not be read as such: another that is unknown stands
/// in for it.
UA_TimestampsToReturn readable(const UA_TimestampsToReturn& asked) {
    std::uint32_t number = 0;
    std::memcpy(&number, &asked, sizeof(number));
    return number <= UA_TIMESTAMPSTORETURN_INVALID ? asked : __UA_TIMESTAMPSTORETURN_FORCE32BIT;
}

/// The server does nothing else until the archive has answered for all nodes.
void readRawOfFew(UA_Server* server, void* database, const UA_NodeId* session, void* sessionContext,
                  const UA_RequestHeader* header, const UA_ReadRawModifiedDetails* details,
                  UA_TimestampsToReturn timestamps, UA_Boolean release, std::size_t count,
                  const UA_HistoryReadValueId* nodes, UA_HistoryReadResponse* response,
                  UA_HistoryData* const* const data) {
    if (count > kNodesPerHistoryRead) {
        response->responseHeader.serviceResult = UA_STATUSCODE_BADTOOMANYOPERATIONS;
        return;
    }
    readRawOfAll(server, database, session, sessionContext, header, details, readable(timestamps),
                 release, count, nodes, response, data);
}

}  // namespace

void HistoryAccess::install(UA_Server* server) {
    backend_ = UA_HistoryDataBackend_RTEX();
    gathering_ = UA_HistoryDataGathering_Default(1);
    UA_HistoryDatabase database = UA_HistoryDatabase_default(gathering_);
    // The library would report every write of any variable to the history: it asks for the time and
    // looks the node up among all pens, one by one, for a backend that drops the value. Without
    // this member it does neither.
    database.setValue = nullptr;
    refuseUnofferedHistory(database);
    readRawOfAll = database.readRaw;
    database.readRaw = readRawOfFew;
    UA_Server_getConfig(server)->historyDatabase = database;
}

namespace {

/// The most values that an answer holds; 0 where the configuration sets no limit, OPC
/// 10000-11, 5.4.2.
UA_UInt32 longestAnswer() {
    const std::uint32_t count = getCountHistoryTrends();
    return count <= std::uint32_t{maxCountHistoryTrends} ? count : 0;
}

}  // namespace

void HistoryAccess::announce(UA_Server* server) const {
    // Pens of one plotter are there also when the next plotter failed. A capability that cannot be
    // announced is no reason to go without history.
    if (!RtexContext.penByNode.empty()) (void)announceHistory(server, longestAnswer());
}
