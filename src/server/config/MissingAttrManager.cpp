#include "server/config/MissingAttrManager.h"

#include "server/config/ConfigState.h"
#include "server/config/LineSearch.h"
#include "server/diagnostics/OperatorMessages.h"

void MissingAttrManager::addMissingAttr(const std::vector<std::string>& names) {
    for (const auto& name : names) {
        if (known_.insert(name).second) missing_.push_back(name);
    }
}

bool MissingAttrManager::messageBlocker(int type) {
    if (type < 0 || static_cast<std::size_t>(type) >= sent_.size()) return true;
    bool& sent = sent_[static_cast<std::size_t>(type)];
    const bool first = !sent;
    sent = true;
    return first;
}

void MissingAttrManager::sendMessage() const {
    for (const auto& name : missing_) {
        reportMissingAttribute(findLineNumber(iniFilePath, name), {"", name, true});
    }
}
