#include <open62541/plugin/log_stdout.h>

#include "server/UAServer.h"
#include "server/operative/UaView.h"
#include "server/text/Utf8ToCP866Converter.h"

namespace {

constexpr UA_UInt32 kFolderType = 61;
constexpr UA_UInt32 kOrganizes = 35;
constexpr UA_UInt32 kObjectsFolder = 85;

UA_StatusCode addFolder(UA_Server* server, UA_UInt16 ns, const UA_NodeId& id,
                        const UA_NodeId& parent, std::string_view name) {
    UA_ObjectAttributes attributes = UA_ObjectAttributes_default;
    attributes.displayName = uaTextView("en-US", name);
    return UA_Server_addObjectNode(server, id, parent, UA_NODEID_NUMERIC(0, kOrganizes),
                                   uaNameView(ns, name), UA_NODEID_NUMERIC(0, kFolderType),
                                   attributes, nullptr, nullptr);
}

bool nodeExists(UA_Server* server, const UA_NodeId& id) {
    UA_ReadValueId what{};
    what.nodeId = id;
    what.attributeId = UA_ATTRIBUTEID_NODECLASS;
    UA_DataValue answer = UA_Server_read(server, &what, UA_TIMESTAMPSTORETURN_NEITHER);
    const bool exists =
        answer.hasValue && (!answer.hasStatus || answer.status == UA_STATUSCODE_GOOD);
    UA_DataValue_clear(&answer);
    return exists;
}

}  // namespace

void UAServer::createFolder(UA_NodeId requestedId, char* name, UA_NodeId* parent) {
    const UA_NodeId parentId = parent != nullptr ? *parent : UA_NODEID_NUMERIC(0, kObjectsFolder);
    (void)addFolder(server_, namespaceIndex_, requestedId, parentId, name);
    // KEPT: the name is converted back to CP866 and the result is not used.
    Utf8ToCP866Converter converter;
    (void)converter.convertUtf8ToCP866_manual(name);
}

UA_StatusCode UAServer::createFolderRVGroup(const char* name, int parentNumber, UA_NodeId* outId) {
    if (outId != nullptr) *outId = UA_NODEID_NULL;
    const UA_NodeId parentId =
        UA_NODEID_NUMERIC(namespaceIndex_, static_cast<UA_UInt32>(parentNumber));
    const std::string idText = std::to_string(parentNumber) + "_" + name;
    const UA_NodeId folderId = uaNodeIdView(namespaceIndex_, idText);

    if (!nodeExists(server_, folderId)) {
        const UA_StatusCode status = addFolder(server_, namespaceIndex_, folderId, parentId, name);
        if (status != UA_STATUSCODE_GOOD) {
            UA_LOG_ERROR(UA_Log_Stdout, UA_LOGCATEGORY_USERLAND,
                         "Failed to add folder %s under parent %d: %s", name, parentNumber,
                         UA_StatusCode_name(status));
            return status;
        }
    }
    return outId != nullptr ? UA_NodeId_copy(&folderId, outId) : UA_STATUSCODE_GOOD;
}

void UAServer::removeFolder(std::uint32_t folderId) {
    // A folder that could not be made cannot be removed either; both stay silent.
    (void)UA_Server_deleteNode(server_, UA_NODEID_NUMERIC(namespaceIndex_, folderId), true);
}

bool UAServer::folderExists(std::uint32_t folderId) const {
    return nodeExists(server_, UA_NODEID_NUMERIC(namespaceIndex_, folderId));
}

void UAServer::rollBackStructure(const std::string& structId, std::string_view word) {
    const int wordLength = static_cast<int>(word.size());
    const UA_StatusCode status =
        UA_Server_deleteNode(server_, uaNodeIdView(namespaceIndex_, structId), true);
    if (status == UA_STATUSCODE_GOOD) {
        UA_LOG_INFO(UA_Log_Stdout, UA_LOGCATEGORY_USERLAND,
                    "Rolled back %.*s structure due to items creation failure", wordLength,
                    word.data());
        return;
    }
    UA_LOG_WARNING(UA_Log_Stdout, UA_LOGCATEGORY_USERLAND,
                   "Failed to rollback %.*s structure after items error: %s", wordLength,
                   word.data(), UA_StatusCode_name(status));
}
