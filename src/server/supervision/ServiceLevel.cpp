#include "server/supervision/ServiceLevel.h"

#include <open62541/nodeids.h>

#include <new>
#include <utility>

namespace {
constexpr double kPeriodMs = 1000.0;
constexpr UA_Byte kFullService = 255;
/// The standard's "no data": 0 is for a server in maintenance.
constexpr UA_Byte kNoData = 1;
}  // namespace

ServiceLevel::ServiceLevel(UA_Server* server, DatabaseWatch watch)
    : server_(server), watch_(std::move(watch)) {
    UA_CallbackValueSource source{};
    source.read = read;
    const UA_NodeId node = UA_NODEID_NUMERIC(0, UA_NS0ID_SERVER_SERVICELEVEL);
    // If this fails because memory ran out, the start fails soon afterwards.
    (void)UA_Server_setNodeContext(server_, node, this);
    (void)UA_Server_setVariableNode_callbackValueSource(server_, node, source);
    (void)UA_Server_addRepeatedCallback(server_, look, this, kPeriodMs, &timer_);
    look(server_, this);
}

ServiceLevel::~ServiceLevel() {
    UA_Server_removeCallback(server_, timer_);
}

void ServiceLevel::look(UA_Server* /*server*/, void* self) noexcept {
    auto* const level = static_cast<ServiceLevel*>(self);
    try {
        level->level_ = level->watch_.isCurrent() ? kFullService : kNoData;
    } catch (const std::bad_alloc&) {  // the last result stays until there is memory for a check
    }
}

UA_StatusCode ServiceLevel::read(UA_Server* /*server*/, const UA_NodeId* /*sessionId*/,
                                 void* /*sessionContext*/, const UA_NodeId* /*nodeId*/, void* self,
                                 UA_Boolean includeSourceTimeStamp, const UA_NumericRange* range,
                                 UA_DataValue* value) noexcept {
    if (range != nullptr) return UA_STATUSCODE_BADINDEXRANGEINVALID;
    const UA_Byte level = static_cast<const ServiceLevel*>(self)->level_;
    value->hasSourceTimestamp = includeSourceTimeStamp;
    value->sourceTimestamp = UA_DateTime_now();
    const UA_StatusCode status =
        UA_Variant_setScalarCopy(&value->value, &level, &UA_TYPES[UA_TYPES_BYTE]);
    value->hasValue = status == UA_STATUSCODE_GOOD;
    return status;
}
