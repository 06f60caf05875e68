#include "server/plan/TagGroups.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <optional>

#include "server/bounds/ConfigBounds.h"
#include "server/config/NumberLists.h"
#include "server/config/SectionNames.h"
#include "server/plan/TreeNames.h"

std::vector<TagGroup> readTagGroups(const std::vector<Section>& sections) {
    std::vector<TagGroup> groups;
    std::map<int, std::size_t> lastOfNumber;
    int folderId = kFirstGroupFolder;
    for (const Section& section : sections) {
        if (!holdsGroup(section.name)) continue;
        const int number = getNumberGroup(section.name);
        const auto [last, isNew] = lastOfNumber.try_emplace(number, groups.size());
        if (!isNew) {
            groups[last->second].entries = EntrySource::group(std::nullopt);
            last->second = groups.size();
        }
        TagGroup& group = groups.emplace_back(
            TagGroup{EntrySource::group(number), folderId++, groupFolderName(section), TagLists{}});
        readTagLists(section, group.lists);
    }
    return groups;
}

GroupMembership::GroupMembership(const std::vector<TagGroup>& groups) {
    for (std::size_t kind = 0; kind < kinds_.size(); ++kind) {
        OfKind& members = kinds_[kind];
        for (const TagGroup& group : groups) {
            const TagList& list = group.lists[kind];
            if (listsEveryTag(list)) {
                members.everyTag.push_back(&group);
                continue;
            }
            for (auto tag = std::ranges::lower_bound(list, 1); tag != list.end(); ++tag) {
                if (*tag > kLastTagNumber) break;
                members.listed.emplace_back(*tag, &group);
            }
        }
        std::ranges::sort(members.listed);
    }
}

const std::vector<const TagGroup*>& GroupMembership::groupsOf(VariableType kind, int tagNumber) {
    OfKind& members = kinds_[static_cast<std::size_t>(kind)];
    std::vector<const TagGroup*> listing;
    while (members.next < members.listed.size() &&
           members.listed[members.next].first <= tagNumber) {
        const auto& [tag, group] = members.listed[members.next++];
        if (tag == tagNumber) listing.push_back(group);
    }
    answer_.clear();
    std::ranges::merge(members.everyTag, listing, std::back_inserter(answer_), {},
                       &TagGroup::folderId, &TagGroup::folderId);
    return answer_;
}
