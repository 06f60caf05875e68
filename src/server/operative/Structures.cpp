#include "server/operative/Structures.h"

#include <open62541/plugin/log_stdout.h>

#include "server/opcua/UaView.h"

namespace {

constexpr UA_UInt32 kHasComponent = 47;
constexpr UA_UInt32 kBaseObjectType = 58;

}  // namespace

UA_StatusCode addStructureObject(const AddressSpace& space, const std::string& structId,
                                 const UA_NodeId& parent) {
    UA_ObjectAttributes attributes = UA_ObjectAttributes_default;
    attributes.displayName = uaTextView("ru-RU", structId);
    attributes.description = uaTextView("ru-RU", structId);
    return UA_Server_addObjectNode(
        space.server, uaNodeIdView(space.ns, structId), parent, UA_NODEID_NUMERIC(0, kHasComponent),
        uaNameView(space.ns, structId), UA_NODEID_NUMERIC(0, kBaseObjectType), attributes, nullptr,
        nullptr);
}

void rollBackStructure(const AddressSpace& space, const std::string& structId,
                       std::string_view kindWord) {
    const int wordLength = static_cast<int>(kindWord.size());
    const UA_StatusCode status =
        UA_Server_deleteNode(space.server, uaNodeIdView(space.ns, structId), true);
    if (status == UA_STATUSCODE_GOOD) {
        UA_LOG_INFO(UA_Log_Stdout, UA_LOGCATEGORY_USERLAND,
                    "Rolled back %.*s structure due to items creation failure", wordLength,
                    kindWord.data());
        return;
    }
    UA_LOG_WARNING(UA_Log_Stdout, UA_LOGCATEGORY_USERLAND,
                   "Failed to rollback %.*s structure after items error: %s", wordLength,
                   kindWord.data(), UA_StatusCode_name(status));
}
