#include <open62541/plugin/log_stdout.h>

#include <array>

#include "server/UAServer.h"
#include "server/attributes/TagGroups.h"
#include "server/attributes/TreeNames.h"
#include "server/config/IniConfigManager.h"
#include "server/operative/UaView.h"
#include "server/variables/UARTEXVariable.h"

UA_StatusCode UAServer::initializeOperativeTreeGroup() {
    const std::vector<TagGroup> groups = readTagGroups(IniConfigManager::instance().getSections());
    UA_NodeId operative = UA_NODEID_NUMERIC(namespaceIndex_, kOperativeFolder);
    for (const TagGroup& group : groups) {
        const auto folderId = static_cast<UA_UInt32>(group.folderId);
        std::string name = group.folderName;
        createFolder(UA_NODEID_NUMERIC(namespaceIndex_, folderId), name.data(), &operative);
    }
    publishGroupedTags(groups);
    return folderExists(kOperativeFolder) ? UA_STATUSCODE_GOOD : UA_STATUSCODE_BADINTERNALERROR;
}

void UAServer::publishGroupedTags(const std::vector<TagGroup>& groups) {
    if (groups.empty()) return;
    const std::map<int, int> groupMap = groupMapOf(groups);
    const std::string prefix = operativePrefix(applicationNameUtf8());
    GroupMembership membership(groups);
    std::array<int, kKinds.size()> lastTagNumber{};

    for (const auto& variable : rtexvariable) {
        const auto kindIndex = static_cast<std::size_t>(variable->getType());
        const VariableKind& kind = kKinds[kindIndex];
        const int tagNumber = ++lastTagNumber[kindIndex];
        for (const int folder : membership.foldersOf(kind.type, tagNumber)) {
            const UA_StatusCode status =
                createStructureGroup(variable.get(), tagNumber, prefix, folder, groupMap);
            if (status == UA_STATUSCODE_GOOD) continue;
            // KEPT: the text names the folder's number as the group's.
            UA_LOG_WARNING(UA_Log_Stdout, UA_LOGCATEGORY_SERVER,
                           "Failed to create structure for %s variable %d in group %d: %s",
                           kind.word.data(), tagNumber, folder, UA_StatusCode_name(status));
        }
    }
}

namespace {

/// The group's part of item ids, by the folder's display name as the server shows it; that of an
/// empty name when there is no such folder.
std::string getGroupNameForTag(UA_Server* server, const UA_NodeId& folder) {
    UA_LocalizedText name{};
    if (UA_Server_readDisplayName(server, folder, &name) != UA_STATUSCODE_GOOD) {
        return groupText({});
    }
    const std::string_view text = textOf(name.text);
    std::string group = groupText(text);
    UA_LocalizedText_clear(&name);
    return group;
}

class OwnedNodeId {
  public:
    OwnedNodeId() = default;
    OwnedNodeId(const OwnedNodeId&) = delete;
    OwnedNodeId& operator=(const OwnedNodeId&) = delete;
    ~OwnedNodeId() { UA_NodeId_clear(&id); }

    UA_NodeId id = UA_NODEID_NULL;
};

}  // namespace

UA_StatusCode UAServer::createStructureGroup(UARTEXVariable* variable, int tagNumber,
                                             const std::string& prefix, int groupFolder,
                                             const std::map<int, int>& groupMap) {
    const PublishedType* const published =
        findPublishedType(variable->getType(), variable->getRVType());
    if (published == nullptr) return UA_STATUSCODE_BADINTERNALERROR;

    OwnedNodeId parent;
    parent.id = UA_NODEID_NUMERIC(namespaceIndex_, static_cast<UA_UInt32>(groupFolder));
    const std::string itemPrefix =
        groupItemPrefix(prefix, *published, getGroupNameForTag(server_, parent.id));
    if (published->kind == VariableType::RV) {
        const UA_StatusCode folder =
            createFolderRVGroup(published->folderName.data(), groupFolder, &parent.id);
        if (folder != UA_STATUSCODE_GOOD) return folder;
    }

    const std::string structId = variable->getStructId(tagNumber);
    const UA_StatusCode added = addStructureObject(structId, parent.id);
    if (added != UA_STATUSCODE_GOOD) return added;

    const UA_StatusCode items =
        createUAItems(variable, tagNumber, structId, itemPrefix, "group", groupFolder, groupMap);
    if (items != UA_STATUSCODE_GOOD) rollBackStructure(structId, kindOf(published->kind).word);
    return items;
}
