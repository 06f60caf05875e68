#pragma once

#include <open62541/plugin/historydata/history_data_backend.h>

#include <cstdint>

#include "server/bounds/ConfigBounds.h"

// Answers the library's history service from the controller's trend archive. Nothing is cached:
// each read is one read of the archive. The callbacks run on the server thread; their caller is C.

/// Default number of values of one history read. Despite its name it is not a minimum.
inline const std::int32_t minCountHistoryTrends = 100;
inline const std::int32_t maxCountHistoryTrends = kMostHistoryValues;

/// Number of values that one read asks the archive for: the last "CountHistoryTrends" of the loaded
/// configuration, at most 1000. A value that is not a number makes it 100 and ends the search.
///
/// KEPT: there is no lower bound, so 0 and negative numbers (as large unsigned ones) reach the
/// archive. Required by the interface.
std::uint32_t getCountHistoryTrends();

/// The backend with `RtexContext` as its context; the operations below, all others null.
UA_HistoryDataBackend UA_HistoryDataBackend_RTEX();

/// Raw values between two times, oldest first, as many as getCountHistoryTrends() says.
///
/// @param backend  its context is the RTEXContext that knows the nodes; an unknown node is read as
///                 plotter 0, pen 0, and the archive decides
/// @param outContinuationPoint  always empty: an answer that was cut short does not say so
/// @param result   set to the archive's values; empty when its read failed
/// @return BADINVALIDARGUMENT without `result`, BADOUTOFMEMORY, else GOOD
/// The client's count, bounds, index range and continuation point are ignored. The server does
/// nothing else until the archive has answered.
UA_StatusCode getHistoryData_RTEX(UA_Server* server, const UA_NodeId* sessionId,
                                  void* sessionContext, const UA_HistoryDataBackend* backend,
                                  UA_DateTime start, UA_DateTime end, const UA_NodeId* nodeId,
                                  std::size_t maxSizePerResponse, UA_UInt32 numValuesPerNode,
                                  UA_Boolean returnBounds, UA_TimestampsToReturn timestamps,
                                  UA_NumericRange range, UA_Boolean releaseContinuationPoints,
                                  const UA_ByteString* continuationPoint,
                                  UA_ByteString* outContinuationPoint,
                                  UA_HistoryData* result) noexcept;

/// Refuses to write history: BADHISTORYOPERATIONUNSUPPORTED.
UA_StatusCode serverSetHistoryData_RTEX(UA_Server* server, void* context,
                                        const UA_NodeId* sessionId, void* sessionContext,
                                        const UA_NodeId* nodeId, UA_Boolean historizing,
                                        const UA_DataValue* value) noexcept;

/// KEPT: returns the number of the status BADHISTORYOPERATIONUNSUPPORTED where the library expects
/// an index. Required by the interface.
std::size_t getDateTimeMatch_RTEX(UA_Server* server, void* context, const UA_NodeId* sessionId,
                                  void* sessionContext, const UA_NodeId* nodeId,
                                  UA_DateTime timestamp, MatchStrategy strategy) noexcept;

/// True: a request for bounds is accepted, but answered without them.
UA_Boolean boundSupported_RTEX(UA_Server* server, void* context, const UA_NodeId* sessionId,
                               void* sessionContext, const UA_NodeId* nodeId) noexcept;

/// True for the four settings of the standard.
/// KEPT: also for the next number, 4. Required by the interface.
UA_Boolean timestampsToReturnSupported_RTEX(UA_Server* server, void* context,
                                            const UA_NodeId* sessionId, void* sessionContext,
                                            const UA_NodeId* nodeId,
                                            UA_TimestampsToReturn timestamps) noexcept;
