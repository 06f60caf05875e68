#include "bench/pen_requests.h"

#include <string>

#include "bench/pen_names.h"

namespace bench {

namespace {

constexpr UA_UInt16 kNamespace = 2;  // of both servers' nodes

}  // namespace

PreparedRequest prepareHistoryRead(UaConnection& connection, std::size_t first, std::size_t count) {
    UA_ReadRawModifiedDetails details{};
    details.startTime = UA_DATETIME_UNIX_EPOCH;
    details.endTime = UA_DateTime_fromUnixTime(2'000'000'000);
    UaHandle<UA_HistoryReadRequest, UA_TYPES_HISTORYREADREQUEST> request;
    UA_ExtensionObject_setValueCopy(&request->historyReadDetails, &details,
                                    &UA_TYPES[UA_TYPES_READRAWMODIFIEDDETAILS]);
    request->timestampsToReturn = UA_TIMESTAMPSTORETURN_SOURCE;
    request->nodesToRead = static_cast<UA_HistoryReadValueId*>(
        UA_Array_new(count, &UA_TYPES[UA_TYPES_HISTORYREADVALUEID]));
    if (request->nodesToRead == nullptr) throw UaError("out of memory");
    request->nodesToReadSize = count;
    for (std::size_t i = 0; i < count; ++i) {
        const std::string id = penTagName(first + i);
        request->nodesToRead[i].nodeId = UA_NODEID_STRING_ALLOC(kNamespace, id.c_str());
    }
    return connection.prepare(request);
}

}  // namespace bench
