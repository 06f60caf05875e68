#include "server/operative/Folders.h"

#include <open62541/plugin/log_stdout.h>

#include "server/opcua/UaView.h"
#include "server/text/Utf8ToCP866Converter.h"

namespace {

constexpr UA_UInt32 kFolderType = 61;
constexpr UA_UInt32 kOrganizes = 35;
constexpr UA_UInt32 kObjectsFolder = 85;

UA_StatusCode addFolder(const AddressSpace& space, const UA_NodeId& id, const UA_NodeId& parent,
                        std::string_view name) {
    UA_ObjectAttributes attributes = UA_ObjectAttributes_default;
    attributes.displayName = uaTextView("en-US", name);
    return UA_Server_addObjectNode(space.server, id, parent, UA_NODEID_NUMERIC(0, kOrganizes),
                                   uaNameView(space.ns, name), UA_NODEID_NUMERIC(0, kFolderType),
                                   attributes, nullptr, nullptr);
}

}  // namespace

void addFixedFolder(const AddressSpace& space, const UA_NodeId& id, const std::string& name,
                    const UA_NodeId* parent) {
    const UA_NodeId parentId = parent != nullptr ? *parent : UA_NODEID_NUMERIC(0, kObjectsFolder);
    (void)addFolder(space, id, parentId, name);
    // KEPT: the name is converted back to CP866 and the result is not used. Required by the
    // interface.
    Utf8ToCP866Converter converter;
    (void)converter.convertUtf8ToCP866_manual(name);
}

bool nodeExists(const AddressSpace& space, const UA_NodeId& id) {
    UA_ReadValueId what{};
    what.nodeId = id;
    what.attributeId = UA_ATTRIBUTEID_NODECLASS;
    const OwnedDataValue answer(UA_Server_read(space.server, &what, UA_TIMESTAMPSTORETURN_NEITHER));
    return answer->hasValue && (!answer->hasStatus || answer->status == UA_STATUSCODE_GOOD);
}

UA_StatusCode findOrAddFolder(const AddressSpace& space, const char* name, int parentNumber,
                              OwnedNodeId& id) {
    const std::string idText = std::to_string(parentNumber) + "_" + name;
    const UA_NodeId folderId = uaNodeIdView(space.ns, idText);
    if (!nodeExists(space, folderId)) {
        const UA_NodeId parent = space.numericId(static_cast<UA_UInt32>(parentNumber));
        const UA_StatusCode status = addFolder(space, folderId, parent, name);
        if (status != UA_STATUSCODE_GOOD) {
            UA_LOG_ERROR(UA_Log_Stdout, UA_LOGCATEGORY_USERLAND,
                         "Failed to add folder %s under parent %d: %s", name, parentNumber,
                         UA_StatusCode_name(status));
            return status;
        }
    }
    id.clear();
    return UA_NodeId_copy(&folderId, id.get());
}

void removeFolder(const AddressSpace& space, UA_UInt32 number) {
    (void)UA_Server_deleteNode(space.server, space.numericId(number), true);
}
