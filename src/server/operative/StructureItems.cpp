#include <utility>

#include "server/ServerState.h"
#include "server/UAServer.h"
#include "server/attributes/AccessTypeAtr.h"
#include "server/config/IniConfigManager.h"
#include "server/operative/UaView.h"
#include "server/variables/UARTEXVariable.h"

namespace {

constexpr UA_UInt32 kHasComponent = 47;
constexpr UA_UInt32 kBaseDataVariableType = 63;

// ---- One value variable ------------------------------------------------------------------------

/// The attributes of the nodes of one createUAItems call. KEPT: one record serves all of its
/// entries, so an attribute without a value type has the value of the entry before it.
class ItemAttributes {
  public:
    ItemAttributes() = default;
    ItemAttributes(const ItemAttributes&) = delete;
    ItemAttributes& operator=(const ItemAttributes&) = delete;
    ~ItemAttributes() { UA_Variant_clear(&attributes_.value); }

    void readInitialValue(VarContext& context) {
        UA_Variant value;
        UA_Variant_init(&value);
        unsigned scratchStatus = 0;
        (void)context.variable->getValue(value, scratchStatus, context.attributeNumber,
                                         context.timestamp);
        if (UA_Variant_isEmpty(&value)) return;
        UA_Variant_clear(&attributes_.value);
        attributes_.value = value;
    }

    /// The texts are not copied: they have to live until the node is added.
    const UA_VariableAttributes& describe(std::string_view name, std::string_view description,
                                          UA_Byte accessLevel) {
        attributes_.displayName = uaTextView("ru-RU", name);
        attributes_.description = uaTextView("ru-RU", description);
        attributes_.accessLevel = accessLevel;
        return attributes_;
    }

  private:
    UA_VariableAttributes attributes_ = UA_VariableAttributes_default;
};

VarContext& makeContext(UARTEXVariable& variable, int attributeNumber) {
    varContexts.push_back(std::make_unique<VarContext>(&variable, attributeNumber));
    return *varContexts.back();
}

}  // namespace

const ItemPlan& UAServer::itemPlan(UARTEXVariable& variable, const PublishedType& published,
                                   const std::string& mode, int groupNumber,
                                   const std::map<int, int>& groupMap) {
    const auto [place, isNew] =
        itemPlans_.try_emplace(std::make_tuple(published.folderId, mode, groupNumber));
    if (!isNew) return place->second;

    const auto& sections = IniConfigManager::instance().getSections();
    return place->second =
               makeItemPlan(variable.getConfigForTag(sections, mode, groupNumber, groupMap),
                            published, groupNumber, groupMap);
}

UA_StatusCode UAServer::createUAItems(UARTEXVariable* variable, int tagNumber,
                                      const std::string& parentId, const std::string& itemPrefix,
                                      const std::string& mode, int groupNumber,
                                      const std::map<int, int>& groupMap) {
    if (variable == nullptr || server_ == nullptr) return UA_STATUSCODE_BADINTERNALERROR;
    const PublishedType* const published =
        findPublishedType(variable->getType(), variable->getRVType());
    if (published == nullptr) return UA_STATUSCODE_BADINTERNALERROR;

    const std::string structId = variable->getStructId(tagNumber);
    const std::string idHead = itemPrefix + structId;
    const UA_NodeId parent = uaNodeIdView(namespaceIndex_, parentId);
    const UA_CallbackValueSource source{readNodeValue, writeNodeValue};
    ItemAttributes attributes;
    UA_StatusCode status = UA_STATUSCODE_GOOD;

    for (const ItemPlan::Item& item :
         itemPlan(*variable, *published, mode, groupNumber, groupMap).items) {
        const int attributeNumber = item.info.attributeNumber;
        const UA_Byte accessLevel = accessLevelOf(
            AccessTypeAtr::checkAccessRights(item.info.access, attributeNumber, published->access));
        if (accessLevel == 0) continue;

        VarContext& context = makeContext(*variable, attributeNumber);
        variable->setIdTag(tagNumber);
        variable->setIdAttr(attributeNumber);
        attributes.readInitialValue(context);

        const std::string id = idHead + item.idTail;
        const std::string description = structId + item.descriptionTail;
        status = UA_Server_addCallbackValueSourceVariableNode(
            server_, uaNodeIdView(namespaceIndex_, id), parent, UA_NODEID_NUMERIC(0, kHasComponent),
            uaNameView(namespaceIndex_, item.nameUtf8), UA_NODEID_NUMERIC(0, kBaseDataVariableType),
            attributes.describe(item.nameUtf8, description, accessLevel), source, &context,
            nullptr);
        if (published->kind == VariableType::RV) {
            rvFolderUnused_[static_cast<std::size_t>(published->rvType)] = false;
        }
    }
    // KEPT: the status of the last add only.
    return status;
}
