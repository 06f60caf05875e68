#include "server/operative/StructureItems.h"

#include <utility>

#include "server/opcua/UaHandle.h"
#include "server/opcua/UaView.h"
#include "server/operative/VariableAccess.h"
#include "server/values/UARTEXVariable.h"
#include "server/values/VariableOfKind.h"

namespace {

constexpr UA_UInt32 kHasComponent = 47;
constexpr UA_UInt32 kBaseDataVariableType = 63;

// ---- One value variable ------------------------------------------------------------------------

/// The attributes of one tag's value variables. KEPT: all of them share one record, so if the read
/// of an attribute gives no value, its node is made with the value of the last earlier one that had
/// one. Required by the interface.
class ItemAttributes {
  public:
    void readInitialValue(VarContext& context) {
        OwnedVariant value;
        unsigned scratchStatus = 0;
        (void)context.variable->getValue(*value, scratchStatus, context.attributeNumber,
                                         context.timestamp);
        if (UA_Variant_isEmpty(value.get())) return;
        value_ = std::move(value);
        attributes_.value = *value_;
    }

    /// The texts are not copied: they have to live until the node is added.
    const UA_VariableAttributes& describe(std::string_view name, std::string_view description,
                                          Access right) {
        attributes_.displayName = uaTextView("ru-RU", name);
        attributes_.description = uaTextView("ru-RU", description);
        attributes_.accessLevel = static_cast<UA_Byte>(right);
        return attributes_;
    }

  private:
    OwnedVariant value_;
    UA_VariableAttributes attributes_ = UA_VariableAttributes_default;
};

}  // namespace

const ItemPlan& StructureItems::planOf(const PublishedType& published,
                                       const std::vector<Section>& sections, const Source& source) {
    const auto [place, isNew] =
        plans_.try_emplace(std::pair(published.folderId, source.groupFolder));
    if (isNew) {
        place->second = makeItemPlan(configuredAttributes(sections, published, source.entries),
                                     published, source.entries);
    }
    return place->second;
}

UA_StatusCode StructureItems::add(UARTEXVariable& variable, int tagNumber,
                                  const std::string& parentId, const std::string& itemPrefix,
                                  const std::vector<Section>& sections, const Source& source) {
    const PublishedType* const published =
        findPublishedType(variable.getType(), variable.getRVType());
    if (published == nullptr) return UA_STATUSCODE_BADINTERNALERROR;

    const std::string structId = variable.getStructId(tagNumber);
    const std::string idHead = itemPrefix + structId;
    const UA_NodeId parent = uaNodeIdView(space_.ns, parentId);
    const UA_CallbackValueSource callbacks{readVariable, writeVariable};
    ItemAttributes attributes;
    UA_StatusCode status = UA_STATUSCODE_GOOD;

    for (const ItemPlan::Item& item : planOf(*published, sections, source).items) {
        const int attributeNumber = item.info.attributeNumber;
        // KEPT: printed for every tag, although it is the same line for each. Required by the
        // interface.
        AccessTypeAtr::printOverruled(item.access);

        contexts_->push_back(std::make_unique<VarContext>(&variable, attributeNumber));
        VarContext& context = *contexts_->back();
        variable.setIdTag(tagNumber);
        variable.setIdAttr(attributeNumber);
        attributes.readInitialValue(context);

        const std::string id = idHead + item.idTail;
        const std::string description = structId + item.descriptionTail;
        status = UA_Server_addCallbackValueSourceVariableNode(
            space_.server, uaNodeIdView(space_.ns, id), parent, UA_NODEID_NUMERIC(0, kHasComponent),
            uaNameView(space_.ns, item.nameUtf8), UA_NODEID_NUMERIC(0, kBaseDataVariableType),
            attributes.describe(item.nameUtf8, description, item.access.right), callbacks, &context,
            nullptr);
        if (published->kind == VariableType::RV) {
            rvTried_[static_cast<std::size_t>(published->rvType)] = true;
        }
    }
    // KEPT: the status of the last add only. Required by the interface.
    return status;
}
