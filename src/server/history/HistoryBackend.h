#pragma once

#include <open62541/plugin/historydata/history_data_backend.h>

#include <cstdint>

#include "server/bounds/ConfigBounds.h"

// Answers the library's history service out of the controller's trend archive. Nothing is kept
// here: each read is one read of the archive. The callbacks run on the server thread; their caller
// is C.

/// Number of values of one history read, when the configuration does not say another.
inline const std::int32_t minCountHistoryTrends = 100;
inline const std::int32_t maxCountHistoryTrends = kMostHistoryValues;

/// Number of values that one read asks the archive for: the last "CountHistoryTrends" of the loaded
/// configuration, at most 1000. A value that is no number makes it 100 at once.
///
/// KEPT: there is no lower bound, so 0 and negative numbers (as large unsigned ones) reach the
/// archive.
std::uint32_t getCountHistoryTrends();

/// The backend with `RtexContext` as its context; the operations below, all others null.
UA_HistoryDataBackend UA_HistoryDataBackend_RTEX();

/// Raw values between two times, oldest first, as many as getCountHistoryTrends() says.
///
/// @param backend  its context is the RTEXContext that knows the nodes; one that it does not know
///                 is asked for as plotter 0, pen 0, and the archive decides
/// @param outContinuationPoint  always empty: an answer that was cut short does not say so
/// @param result   set to what the archive gave, also to nothing when its read failed
/// @return BADINVALIDARGUMENT without `result`, BADOUTOFMEMORY, else GOOD
/// The client's count, bounds, index range and continuation point are not looked at. The server
/// does nothing else until the archive has answered.
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
/// an index.
std::size_t getDateTimeMatch_RTEX(UA_Server* server, void* context, const UA_NodeId* sessionId,
                                  void* sessionContext, const UA_NodeId* nodeId,
                                  UA_DateTime timestamp, MatchStrategy strategy) noexcept;

/// True: a request for bounds is accepted, and answered without them.
UA_Boolean boundSupported_RTEX(UA_Server* server, void* context, const UA_NodeId* sessionId,
                               void* sessionContext, const UA_NodeId* nodeId) noexcept;

/// True for the four settings of the standard and, KEPT, for the number 4 behind them.
UA_Boolean timestampsToReturnSupported_RTEX(UA_Server* server, void* context,
                                            const UA_NodeId* sessionId, void* sessionContext,
                                            const UA_NodeId* nodeId,
                                            UA_TimestampsToReturn timestamps) noexcept;
