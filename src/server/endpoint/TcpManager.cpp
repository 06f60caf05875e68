#include "server/endpoint/TcpManager.h"

#include "server/opcua/UaView.h"

UA_ConnectionManager* tcpManager(const UA_ServerConfig& config) {
    if (config.eventLoop == nullptr) return nullptr;
    const UA_String tcp = uaView("tcp");
    for (UA_EventSource* s = config.eventLoop->eventSources; s != nullptr; s = s->next) {
        if (s->eventSourceType != UA_EVENTSOURCETYPE_CONNECTIONMANAGER) continue;
        auto* const manager = reinterpret_cast<UA_ConnectionManager*>(s);  // its first member
        if (UA_String_equal(&manager->protocol, &tcp)) return manager;
    }
    return nullptr;
}
