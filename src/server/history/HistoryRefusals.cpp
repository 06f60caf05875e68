#include "server/history/HistoryRefusals.h"

#include <algorithm>
#include <array>
#include <span>

namespace {

constexpr UA_StatusCode kRefusal = UA_STATUSCODE_BADHISTORYOPERATIONUNSUPPORTED;

std::span<UA_HistoryReadResult> resultsOf(UA_HistoryReadResponse& response) {
    return {response.results, response.resultsSize};
}

template <class Details, class Data>
void refuseRead(UA_Server* /*server*/, void* /*context*/, const UA_NodeId* /*sessionId*/,
                void* /*sessionContext*/, const UA_RequestHeader* /*header*/,
                const Details* /*details*/, UA_TimestampsToReturn /*timestamps*/,
                UA_Boolean /*releaseContinuationPoints*/, std::size_t /*nodesSize*/,
                const UA_HistoryReadValueId* /*nodes*/, UA_HistoryReadResponse* response,
                Data* const* /*data*/) noexcept {
    for (UA_HistoryReadResult& result : resultsOf(*response))
        result.statusCode = kRefusal;
}

template <class Details>
void refuseUpdate(UA_Server* /*server*/, void* /*context*/, const UA_NodeId* /*sessionId*/,
                  void* /*sessionContext*/, const UA_RequestHeader* /*header*/,
                  const Details* /*details*/, UA_HistoryUpdateResult* result) noexcept {
    result->statusCode = kRefusal;
}

// ---- Raw values --------------------------------------------------------------------------------

decltype(UA_HistoryDatabase::readRaw) readRawOfLibrary = nullptr;  // set once, at start-up

/// How the library says that a node has no history: not readable, not historizing or not
/// registered, no variable.
constexpr std::array kNoHistory{UA_STATUSCODE_BADUSERACCESSDENIED,
                                UA_STATUSCODE_BADHISTORYOPERATIONINVALID,
                                UA_STATUSCODE_BADATTRIBUTEIDINVALID};

void readRaw(UA_Server* server, void* context, const UA_NodeId* sessionId, void* sessionContext,
             const UA_RequestHeader* header, const UA_ReadRawModifiedDetails* details,
             UA_TimestampsToReturn timestamps, UA_Boolean releaseContinuationPoints,
             std::size_t nodesSize, const UA_HistoryReadValueId* nodes,
             UA_HistoryReadResponse* response, UA_HistoryData* const* data) noexcept {
    readRawOfLibrary(server, context, sessionId, sessionContext, header, details, timestamps,
                     releaseContinuationPoints, nodesSize, nodes, response, data);
    for (UA_HistoryReadResult& result : resultsOf(*response)) {
        if (std::ranges::find(kNoHistory, result.statusCode) != kNoHistory.end())
            result.statusCode = kRefusal;
    }
}

}  // namespace

void refuseUnofferedHistory(UA_HistoryDatabase& database) {
    readRawOfLibrary = database.readRaw;
    database.readRaw = readRaw;
    database.readModified = refuseRead;
    database.readEvent = refuseRead;
    database.readProcessed = refuseRead;
    database.readAtTime = refuseRead;
    database.updateData = refuseUpdate;
    database.deleteRawModified = refuseUpdate;
    database.deleteEvent = refuseUpdate;
}
