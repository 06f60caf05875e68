#include "server/plan/TagLists.h"

#include <algorithm>

#include "server/config/NumberLists.h"
#include "server/config/SectionNames.h"

static_assert(kTagListKeys.size() == kKinds.size() &&
                  std::ranges::all_of(kKinds,
                                      [](const VariableKind& kind) {
                                          return std::ranges::count(kTagListKeys, kind.word) == 1;
                                      }),
              "each kind has a key for its list of tags");

const VariableKind* kindListedBy(std::string_view key) {
    const auto* const kind = std::ranges::find(kKinds, key, &VariableKind::word);
    return kind == kKinds.end() ? nullptr : &*kind;
}

void readTagLists(const Section& section, TagLists& lists) {
    for (const KeyValue& entry : section.params) {
        const VariableKind* const kind = kindListedBy(entry.key);
        if (kind == nullptr) continue;
        lists[static_cast<std::size_t>(kind->type)] = getNumbersTagsOperative(entry.value);
    }
}

TagLists flatTagLists(const std::vector<Section>& sections) {
    TagLists lists;
    for (const Section& section : sections) {
        if (isFlatSection(section.name)) readTagLists(section, lists);
    }
    return lists;
}

bool listsEveryTag(const TagList& list) {
    return list.size() == 1 && list.front() == -1;
}

bool listsTag(const TagList& list, std::int32_t tagNumber) {
    return listsEveryTag(list) || std::ranges::binary_search(list, tagNumber);
}
