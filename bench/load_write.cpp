#include <span>
#include <string>

#include "bench/load_commands.h"
#include "bench/saturating_load.h"
#include "bench/ua_connection.h"

namespace bench {

namespace {

PreparedRequest prepareWrite(UaConnection& connection, std::size_t tags) {
    UaHandle<UA_WriteRequest, UA_TYPES_WRITEREQUEST> request;
    request->nodesToWrite =
        static_cast<UA_WriteValue*>(UA_Array_new(tags, &UA_TYPES[UA_TYPES_WRITEVALUE]));
    if (request->nodesToWrite == nullptr) throw UaError("out of memory");
    request->nodesToWriteSize = tags;
    for (std::size_t i = 0; i < tags; ++i) {
        UA_WriteValue& item = request->nodesToWrite[i];
        const std::string id = "Operative.1_VA.VA_" + std::to_string(i + 1) + ".Знач.A29";
        item.nodeId = UA_NODEID_STRING_ALLOC(2, id.c_str());
        item.attributeId = UA_ATTRIBUTEID_VALUE;
        item.value.hasValue = true;
        const UA_Float number = 21.5F;
        UA_Variant_setScalarCopy(&item.value.value, &number, &UA_TYPES[UA_TYPES_FLOAT]);
    }
    return connection.prepare(request);
}

void checkWrite(const RawResponse& raw, std::size_t tags) {
    UaHandle<UA_WriteResponse, UA_TYPES_WRITERESPONSE> response;
    UaConnection::decode(raw, response);
    if (response->resultsSize != tags) throw UaError("Write: wrong answer");
    for (const UA_StatusCode status : std::span(response->results, response->resultsSize)) {
        if (status != UA_STATUSCODE_GOOD) {
            throw UaError(std::string("Write: ") + UA_StatusCode_name(status));
        }
    }
}

}  // namespace

void loadWrites(const std::vector<Target>& targets, const WriteLoad& load) {
    loadSaturating(targets, load.times, [&load](UaConnection& connection) {
        Workload work;
        work.requests.push_back(prepareWrite(connection, load.tags));
        work.valuesPerRequest = load.tags;
        work.check = [&load](const RawResponse& raw) { checkWrite(raw, load.tags); };
        return work;
    });
}

}  // namespace bench
