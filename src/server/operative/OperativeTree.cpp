#include "server/operative/OperativeTree.h"

#include <open62541/plugin/log_stdout.h>

#include <array>
#include <bitset>

#include "server/operative/Folders.h"
#include "server/operative/Structures.h"
#include "server/plan/TagLists.h"
#include "server/plan/TreeNames.h"
#include "server/values/UARTEXVariable.h"

namespace {

/// The folder that is removed when the list of its kind is empty. Null for manual inputs, which
/// have three folders and their own rule.
const PublishedType* onlyFolderOf(VariableType kind) {
    return kind == VariableType::RV ? nullptr : findPublishedType(static_cast<int>(kind), 0);
}

}  // namespace

UA_StatusCode OperativeTree::build(const std::string& applicationName) {
    addFolders(applicationName);
    publishListedTags(operativePrefix(applicationName));
    removeUnusedRVFolders();
    return nodeExists(space_, space_.numericId(kOperativeFolder)) ? UA_STATUSCODE_GOOD
                                                                  : UA_STATUSCODE_BADINTERNALERROR;
}

void OperativeTree::addFolders(const std::string& applicationName) {
    const UA_NodeId application = space_.numericId(kApplicationFolder);
    const UA_NodeId operative = space_.numericId(kOperativeFolder);
    const bool named = !applicationName.empty();
    if (named) addFixedFolder(space_, application, applicationName, nullptr);
    addFixedFolder(space_, operative, "Operative", named ? &application : nullptr);
    for (const PublishedType& published : kPublishedTypes) {
        addFixedFolder(space_, space_.numericId(published.folderId),
                       std::string(published.folderName), &operative);
    }
}

void OperativeTree::publishListedTags(const std::string& prefix) {
    const TagLists tagLists = flatTagLists(sections_);
    std::array<int, kKinds.size()> lastTagNumber{};
    std::bitset<kKinds.size()> folderRemoved;

    for (const auto& variable : rtexvariable) {
        const auto kindIndex = static_cast<std::size_t>(variable->getType());
        const TagList& tagList = tagLists[kindIndex];
        const int tagNumber = ++lastTagNumber[kindIndex];
        if (listsTag(tagList, tagNumber)) {
            const UA_StatusCode status = addStructure(*variable, tagNumber, prefix);
            if (status != UA_STATUSCODE_GOOD) {
                UA_LOG_WARNING(UA_Log_Stdout, UA_LOGCATEGORY_SERVER,
                               "Failed to create structure for %s variable: %s",
                               kKinds[kindIndex].word.data(), UA_StatusCode_name(status));
            }
        }
        // KEPT: a kind's empty folder is removed at its first variable, so a kind of which the
        // database has no variable at all keeps its folder. Required by the interface.
        const PublishedType* const folder = onlyFolderOf(kKinds[kindIndex].type);
        if (tagList.empty() && folder != nullptr && !folderRemoved[kindIndex]) {
            removeFolder(space_, folder->folderId);
            folderRemoved[kindIndex] = true;
        }
    }
}

void OperativeTree::removeUnusedRVFolders() {
    for (const PublishedType& published : kPublishedTypes) {
        if (published.kind == VariableType::RV && !items_.triedRVType(published.rvType)) {
            removeFolder(space_, published.folderId);
        }
    }
}

UA_StatusCode OperativeTree::addStructure(UARTEXVariable& variable, int tagNumber,
                                          const std::string& prefix) {
    const PublishedType* const published =
        findPublishedType(variable.getType(), variable.getRVType());
    if (published == nullptr) return UA_STATUSCODE_BADINTERNALERROR;

    const std::string structId = variable.getStructId(tagNumber);
    const UA_StatusCode added =
        addStructureObject(space_, structId, space_.numericId(published->folderId));
    if (added != UA_STATUSCODE_GOOD) return added;

    const std::string itemPrefix = std::string(prefix).append(published->itemText);
    const UA_StatusCode items =
        items_.add(variable, tagNumber, structId, itemPrefix, sections_, {EntrySource::flat(), 0});
    if (items != UA_STATUSCODE_GOOD) {
        rollBackStructure(space_, structId, kindOf(published->kind).word);
    }
    return items;
}
