#include "server/plan/TagLists.h"

#include <algorithm>

#include "server/config/NumberLists.h"

void readTagLists(const Section& section, TagLists& lists) {
    for (const KeyValue& entry : section.params) {
        const auto* const kind = std::ranges::find(kKinds, entry.key, &VariableKind::word);
        if (kind == kKinds.end()) continue;
        lists[static_cast<std::size_t>(kind->type)] = getNumbersTagsOperative(entry.value);
    }
}

bool listsEveryTag(const TagList& list) {
    return list.size() == 1 && list.front() == -1;
}

bool listsTag(const TagList& list, std::int32_t tagNumber) {
    return listsEveryTag(list) || std::ranges::binary_search(list, tagNumber);
}
