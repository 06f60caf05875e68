#include "server/values/VariableOfKind.h"

#include <cstring>

#include "server/kinds/Kinds.h"
#include "server/plan/ItemPlan.h"
#include "server/plan/TagConfig.h"
#include "server/values/RTEXHandle.h"

namespace {

/// Bytes of the designation in every passport record, its NUL included.
constexpr std::size_t kDesignationBytes = sizeof(ANALOG::POZ);

}  // namespace

void VariableOfKind::createVarObj(CVeskBDSh& /*db*/, void* passport) {
    if (passport == nullptr) return;
    const char* designation = static_cast<const char*>(passport) + kind_.nameOffset;
    nameCp866_.assign(designation, strnlen(designation, kDesignationBytes));
}

int VariableOfKind::getValue(UA_Variant& value, unsigned int& status, int attributeNumber,
                             long& sourceTime) {
    const std::lock_guard guard(mutex_);
    RTEXHandle::getValueByAttrNumber(attributeNumber, type_, idTag_, value, status, sourceTime);
    return 0;
}

int VariableOfKind::setValue(const UA_Variant& value, int attributeNumber) {
    const std::lock_guard guard(mutex_);
    RTEXHandle::setValueByAttrNumber(attributeNumber, type_, idTag_, value);
    return 0;
}

std::string VariableOfKind::getStructId(int number) {
    return std::string(kind_.structPrefix).append(std::to_string(number));
}

std::string VariableOfKind::getNodeId(int number) {
    return std::string(kind_.nodePrefix).append(std::to_string(number)).append(".A");
}

int VariableOfKind::getCountVarFormObj(int number) {
    CTypeVars* table = veskdb.getTypeVars(kind_.dbCode);
    if (table == nullptr || number < 0 || number > UINT16_MAX) return 1;
    void* passport = table->getAdrPasp(static_cast<std::uint16_t>(number));
    if (passport == nullptr || rtexvariable.empty()) return 1;
    // If a type has no variables, the next type's table is in its place, possibly an array of plain
    // values. These have no designation, and reading one could go beyond the end of the segment.
    if (table->typeAt() > kDescribedTypeCount) return 0;
    // KEPT: this binds the last object of the list, which is this object only because start-up has
    // just appended it. Required by the interface.
    rtexvariable.back()->createVarObj(veskdb, passport);
    return 0;
}

std::vector<TagInfo> VariableOfKind::getConfigForTag(const std::vector<Section>& sections,
                                                     std::string mode, int groupNumber,
                                                     const std::map<int, int>& groupMap) {
    const PublishedType* const published = findPublishedType(getType(), getRVType());
    const auto source = entrySource(mode, groupNumber, groupMap);
    if (published == nullptr || !source) return {};
    return configuredAttributes(sections, *published, *source);
}

std::vector<TagInfo> configuredAttributes(const std::vector<Section>& sections,
                                          const PublishedType& published,
                                          const EntrySource& source) {
    auto entries = readTagConfig(sections, published.marker, source);
    const std::uint8_t code = kindOf(published.kind).dbCode;
    noteMissing(entries, published, [code](int attributeNumber) {
        const SVariable variable{code, 1, static_cast<std::uint16_t>(attributeNumber)};
        return UARTEXVariable::veskdb.isAttribute(variable) != 0;
    });
    return entries;
}
