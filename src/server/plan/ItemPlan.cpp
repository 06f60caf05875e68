#include "server/plan/ItemPlan.h"

#include <algorithm>
#include <utility>

#include "server/config/ConfigState.h"
#include "server/config/LineSearch.h"
#include "server/config/MissingAttrManager.h"
#include "server/diagnostics/OperatorMessages.h"
#include "server/kinds/HidenAttr.h"
#include "server/text/ToUTF8Converter.h"

namespace {

static_assert(AttrTypeMsgCount == kKinds.size(), "one for each kind");

/// Reports an entry whose attribute may not be exported, once per line.
void reportRefused(const TagInfo& entry, const EntrySource& source) {
    const std::int32_t line = lineOfEntry(iniFilePath, entry.key, source);
    if (std::ranges::find(usedLines, line) != usedLines.end()) return;
    reportConfigError(ConfigError::attribute, line, {"", entry.key, false});
    usedLines.push_back(line);
}

ItemPlan::Item plannedItem(TagInfo entry, const AccessTable& table) {
    ItemPlan::Item item;
    item.access = AccessTypeAtr::decideAccess(entry.access, entry.attributeNumber, table);
    item.nameUtf8 = ToUTF8Converter::convertCP866ToUtf8_manual(entry.name);
    item.descriptionTail = ".A" + std::to_string(entry.attributeNumber);
    item.idTail = "." + item.nameUtf8 + item.descriptionTail;
    item.info = std::move(entry);
    return item;
}

}  // namespace

bool mayBeExported(const PublishedType& published, int attributeNumber) {
    const bool logical = published.kind == VariableType::RV && published.rvType == 2;
    if (logical && barredForRVL(attributeNumber)) return false;
    return HidenAttr::checkStatusAttr(attributeNumber, published.access);
}

ItemPlan makeItemPlan(std::vector<TagInfo> entries, const PublishedType& published,
                      const EntrySource& source) {
    ItemPlan plan;
    for (TagInfo& entry : entries) {
        missAttrManager.addMissingAttr(entry.missing);
        if (entry.key.find(published.marker) == std::string::npos) continue;
        if (!mayBeExported(published, entry.attributeNumber)) {
            reportRefused(entry, source);
            continue;
        }
        ItemPlan::Item item = plannedItem(std::move(entry), published.access);
        if (item.access.right != Access::none) plan.items.push_back(std::move(item));
    }
    return plan;
}

void noteMissing(std::vector<TagInfo>& entries, const PublishedType& published,
                 const std::function<bool(int)>& isDescribed) {
    for (TagInfo& entry : entries) {
        const int number = entry.attributeNumber;
        if (mayBeExported(published, number) && !isDescribed(number)) {
            entry.missing.push_back(entry.key);
        }
    }
}
