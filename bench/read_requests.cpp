#include "bench/read_requests.h"

#include <vector>

namespace bench {

PreparedRequest prepareRead(UaConnection& connection, std::span<const UA_NodeId> nodes) {
    UaHandle<UA_ReadRequest, UA_TYPES_READREQUEST> request;
    request->timestampsToReturn = UA_TIMESTAMPSTORETURN_SOURCE;
    request->nodesToRead =
        static_cast<UA_ReadValueId*>(UA_Array_new(nodes.size(), &UA_TYPES[UA_TYPES_READVALUEID]));
    if (request->nodesToRead == nullptr) throw UaError("out of memory");
    request->nodesToReadSize = nodes.size();
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        request->nodesToRead[i].attributeId = UA_ATTRIBUTEID_VALUE;
        if (UA_NodeId_copy(&nodes[i], &request->nodesToRead[i].nodeId) != UA_STATUSCODE_GOOD) {
            throw UaError("out of memory");
        }
    }
    return connection.prepare(request);
}

PreparedRequest prepareTimeRead(UaConnection& connection, std::size_t times) {
    const UA_NodeId time = UA_NODEID_NUMERIC(0, UA_NS0ID_SERVER_SERVERSTATUS_CURRENTTIME);
    return prepareRead(connection, std::vector<UA_NodeId>(times, time));
}

}  // namespace bench
