#include <open62541/plugin/log_stdout.h>

#include <algorithm>
#include <array>
#include <bitset>

#include "server/ServerState.h"
#include "server/UAServer.h"
#include "server/attributes/TagLists.h"
#include "server/attributes/TreeNames.h"
#include "server/config/IniConfigManager.h"
#include "server/config/SectionNames.h"
#include "server/operative/UaView.h"
#include "server/variables/UARTEXVariable.h"

namespace {

constexpr UA_UInt32 kHasComponent = 47;
constexpr UA_UInt32 kBaseObjectType = 58;

// ---- Which tags --------------------------------------------------------------------------------

TagLists flatTagLists(const std::vector<Section>& sections) {
    TagLists lists;
    for (const Section& section : sections) {
        if (isFlatSection(section.name)) readTagLists(section, lists);
    }
    return lists;
}

/// The folder that goes when the list of its kind is empty. Manual inputs have three and their own
/// rule.
const PublishedType* onlyFolderOf(VariableType kind) {
    return kind == VariableType::RV ? nullptr : findPublishedType(static_cast<int>(kind), 0);
}

}  // namespace

UA_StatusCode UAServer::initializeOperativeTree() {
    setApplicationName();
    itemPlans_.clear();
    rvFolderUnused_.fill(true);
    createOperativeFolders();
    publishListedTags();
    for (const PublishedType& published : kPublishedTypes) {
        if (published.kind != VariableType::RV) continue;
        if (rvFolderUnused_[static_cast<std::size_t>(published.rvType)]) {
            removeFolder(published.folderId);
        }
    }
    return folderExists(kOperativeFolder) ? UA_STATUSCODE_GOOD : UA_STATUSCODE_BADINTERNALERROR;
}

void UAServer::createOperativeFolders() {
    const auto folderId = [this](std::uint32_t number) {
        return UA_NODEID_NUMERIC(namespaceIndex_, number);
    };
    UA_NodeId application = folderId(kApplicationFolder);
    UA_NodeId operative = folderId(kOperativeFolder);
    std::string name = applicationNameUtf8();
    const bool named = !name.empty();
    if (named) createFolder(application, name.data(), nullptr);
    name = "Operative";
    createFolder(operative, name.data(), named ? &application : nullptr);
    for (const PublishedType& published : kPublishedTypes) {
        name = published.folderName;
        createFolder(folderId(published.folderId), name.data(), &operative);
    }
}

void UAServer::publishListedTags() {
    const TagLists tagLists = flatTagLists(IniConfigManager::instance().getSections());
    const std::string prefix = operativePrefix(applicationNameUtf8());
    std::array<int, kKinds.size()> lastTagNumber{};
    std::bitset<kKinds.size()> folderRemoved;

    for (const auto& variable : rtexvariable) {
        const auto kindIndex = static_cast<std::size_t>(variable->getType());
        const TagList& tagList = tagLists[kindIndex];
        const int tagNumber = ++lastTagNumber[kindIndex];
        if (listsTag(tagList, tagNumber)) {
            const UA_StatusCode status = createStructure(variable.get(), tagNumber, prefix);
            if (status != UA_STATUSCODE_GOOD) {
                UA_LOG_WARNING(UA_Log_Stdout, UA_LOGCATEGORY_SERVER,
                               "Failed to create structure for %s variable: %s",
                               kKinds[kindIndex].word.data(), UA_StatusCode_name(status));
            }
        }
        // KEPT: a kind's empty folder goes when its first variable is met, so a kind of which the
        // database has no variable at all keeps its folder.
        const PublishedType* const folder = onlyFolderOf(kKinds[kindIndex].type);
        if (tagList.empty() && folder != nullptr && !folderRemoved[kindIndex]) {
            removeFolder(folder->folderId);
            folderRemoved[kindIndex] = true;
        }
    }
}

UA_StatusCode UAServer::createStructure(UARTEXVariable* variable, int tagNumber,
                                        std::string prefix) {
    const PublishedType* const published =
        findPublishedType(variable->getType(), variable->getRVType());
    if (published == nullptr) return UA_STATUSCODE_BADINTERNALERROR;

    const std::string structId = variable->getStructId(tagNumber);
    const UA_StatusCode added =
        addStructureObject(structId, UA_NODEID_NUMERIC(namespaceIndex_, published->folderId));
    if (added != UA_STATUSCODE_GOOD) return added;

    const UA_StatusCode items = createUAItems(variable, tagNumber, structId,
                                              prefix.append(published->itemText), "main", 0, {});
    if (items != UA_STATUSCODE_GOOD) rollBackStructure(structId, kindOf(published->kind).word);
    return items;
}

UA_StatusCode UAServer::addStructureObject(const std::string& structId, const UA_NodeId& parent) {
    UA_ObjectAttributes attributes = UA_ObjectAttributes_default;
    attributes.displayName = uaTextView("ru-RU", structId);
    attributes.description = uaTextView("ru-RU", structId);
    return UA_Server_addObjectNode(
        server_, uaNodeIdView(namespaceIndex_, structId), parent,
        UA_NODEID_NUMERIC(0, kHasComponent), uaNameView(namespaceIndex_, structId),
        UA_NODEID_NUMERIC(0, kBaseObjectType), attributes, nullptr, nullptr);
}
