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

/// The library passes on any number that a client sent; timestampsToReturnSupported_RTEX refuses
/// the unknown ones. A number outside the enumeration must not be read as its type, so it is
/// replaced by a value of the type that is unknown as well.
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
    // With this member the library would report every write of any variable to the history: it
    // would read the clock and search all pens for the node, one by one, for a backend that drops
    // the value.
    database.setValue = nullptr;
    refuseUnofferedHistory(database);
    readRawOfAll = database.readRaw;
    database.readRaw = readRawOfFew;
    UA_Server_getConfig(server)->historyDatabase = database;
}

namespace {

/// The most values in one answer; 0 means that the configuration sets no limit (OPC 10000-11,
/// 5.4.2).
UA_UInt32 longestAnswer() {
    const std::uint32_t count = getCountHistoryTrends();
    return count <= std::uint32_t{maxCountHistoryTrends} ? count : 0;
}

}  // namespace

void HistoryAccess::announce(UA_Server* server) const {
    // The pens of one plotter are published even if the next plotter failed. Failing to announce
    // the capability is no reason to do without history.
    if (!RtexContext.penByNode.empty()) (void)announceHistory(server, longestAnswer());
}
