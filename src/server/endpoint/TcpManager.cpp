#include "server/endpoint/TcpManager.h"

#include <open62541/types.h>

UA_ConnectionManager* tcpManager(const UA_ServerConfig& config) {
    if (config.eventLoop == nullptr) return nullptr;
    char name[] = "tcp";
    const UA_String tcp = UA_STRING(name);
    for (UA_EventSource* s = config.eventLoop->eventSources; s != nullptr; s = s->next) {
        if (s->eventSourceType != UA_EVENTSOURCETYPE_CONNECTIONMANAGER) continue;
        auto* const manager = reinterpret_cast<UA_ConnectionManager*>(s);  // its first member
        if (UA_String_equal(&manager->protocol, &tcp)) return manager;
    }
    return nullptr;
}
