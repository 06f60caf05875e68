#include "server/operative/GroupedTree.h"

#include <open62541/plugin/log_stdout.h>

#include <array>

#include "server/operative/Folders.h"
#include "server/operative/Structures.h"
#include "server/plan/TreeNames.h"
#include "server/values/UARTEXVariable.h"

UA_StatusCode GroupedTree::build(const std::string& applicationName) {
    const std::vector<TagGroup> groups = readTagGroups(sections_);
    const UA_NodeId operative = space_.numericId(kOperativeFolder);
    for (const TagGroup& group : groups) {
        addFixedFolder(space_, space_.numericId(static_cast<UA_UInt32>(group.folderId)),
                       group.folderName, &operative);
    }
    publishTags(groups, operativePrefix(applicationName));
    return nodeExists(space_, operative) ? UA_STATUSCODE_GOOD : UA_STATUSCODE_BADINTERNALERROR;
}

void GroupedTree::publishTags(const std::vector<TagGroup>& groups, const std::string& prefix) {
    if (groups.empty()) return;
    GroupMembership membership(groups);
    std::array<int, kKinds.size()> lastTagNumber{};

    for (const auto& variable : rtexvariable) {
        const auto kindIndex = static_cast<std::size_t>(variable->getType());
        const VariableKind& kind = kKinds[kindIndex];
        const int tagNumber = ++lastTagNumber[kindIndex];
        for (const TagGroup* const group : membership.groupsOf(kind.type, tagNumber)) {
            const UA_StatusCode status = addStructure(*variable, tagNumber, prefix, *group);
            if (status == UA_STATUSCODE_GOOD) continue;
            // KEPT: the text gives the folder's number as that of the group. Required by the
            // interface.
            UA_LOG_WARNING(UA_Log_Stdout, UA_LOGCATEGORY_SERVER,
                           "Failed to create structure for %s variable %d in group %d: %s",
                           kind.word.data(), tagNumber, group->folderId,
                           UA_StatusCode_name(status));
        }
    }
}

UA_StatusCode GroupedTree::addStructure(UARTEXVariable& variable, int tagNumber,
                                        const std::string& prefix, const TagGroup& group) {
    const PublishedType* const published =
        findPublishedType(variable.getType(), variable.getRVType());
    if (published == nullptr) return UA_STATUSCODE_BADINTERNALERROR;

    OwnedNodeId parent(space_.numericId(static_cast<UA_UInt32>(group.folderId)));
    if (published->kind == VariableType::RV) {
        const UA_StatusCode folder =
            findOrAddFolder(space_, published->folderName.data(), group.folderId, parent);
        if (folder != UA_STATUSCODE_GOOD) return folder;
    }

    const std::string structId = variable.getStructId(tagNumber);
    const UA_StatusCode added = addStructureObject(space_, structId, *parent);
    if (added != UA_STATUSCODE_GOOD) return added;

    const std::string itemPrefix = groupItemPrefix(prefix, *published, groupText(group.folderName));
    const UA_StatusCode items = items_.add(variable, tagNumber, structId, itemPrefix, sections_,
                                           {group.entries, group.folderId});
    if (items != UA_STATUSCODE_GOOD) {
        rollBackStructure(space_, structId, kindOf(published->kind).word);
    }
    return items;
}
