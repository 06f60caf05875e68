#include "server/operative/VariableAccess.h"

#include <ctime>
#include <new>

#include "server/operative/VarContext.h"
#include "server/values/UARTEXVariable.h"

namespace {

/// KEPT: every read formats the local time and does not use the text. Required by the interface.
/// The text is made only once a second, because it would be a large part of a read's cost.
void formatReadTime() noexcept {
    static time_t formattedSecond = -1;  // server thread only
    static char text[100];
    const time_t now = time(nullptr);
    if (now == formattedSecond) return;
    formattedSecond = now;
    tm local{};
    if (localtime_r(&now, &local) == nullptr) return;
    (void)strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%S", &local);
}

/// The library is C, so nothing may be thrown through it.
template <class Access>
UA_StatusCode withinMemory(const Access& access) noexcept {
    try {
        access();
        return UA_STATUSCODE_GOOD;
    } catch (const std::bad_alloc&) {
        return UA_STATUSCODE_BADOUTOFMEMORY;
    }
}

}  // namespace

UA_StatusCode readVariable(UA_Server* /*server*/, const UA_NodeId* /*sessionId*/,
                           void* /*sessionContext*/, const UA_NodeId* /*nodeId*/, void* nodeContext,
                           UA_Boolean /*includeSourceTimeStamp*/, const UA_NumericRange* /*range*/,
                           UA_DataValue* value) noexcept {
    formatReadTime();
    if (nodeContext == nullptr) return UA_STATUSCODE_BADINTERNALERROR;
    const auto& context = *static_cast<const VarContext*>(nodeContext);
    value->hasValue = true;
    value->hasStatus = true;
    value->hasSourceTimestamp = true;
    return withinMemory([&] {
        (void)context.variable->getValue(value->value, value->status, context.attributeNumber,
                                         value->sourceTimestamp);
    });
}

UA_StatusCode writeVariable(UA_Server* /*server*/, const UA_NodeId* /*sessionId*/,
                            void* /*sessionContext*/, const UA_NodeId* /*nodeId*/,
                            void* nodeContext, const UA_NumericRange* /*range*/,
                            const UA_DataValue* value) noexcept {
    if (nodeContext == nullptr) return UA_STATUSCODE_BADINTERNALERROR;
    if (!value->hasValue) return UA_STATUSCODE_BADTYPEMISMATCH;
    const auto& context = *static_cast<const VarContext*>(nodeContext);
    return withinMemory(
        [&] { (void)context.variable->setValue(value->value, context.attributeNumber); });
}
