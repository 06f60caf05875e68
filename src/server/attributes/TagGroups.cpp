#include "server/attributes/TagGroups.h"

#include <algorithm>
#include <iterator>
#include <limits>

#include "server/attributes/TreeNames.h"
#include "server/config/NumberLists.h"
#include "server/config/SectionNames.h"

std::vector<TagGroup> readTagGroups(const std::vector<Section>& sections) {
    std::vector<TagGroup> groups;
    int folderId = kFirstGroupFolder;
    for (const Section& section : sections) {
        if (!holdsGroup(section.name)) continue;
        TagGroup& group = groups.emplace_back();
        group.number = getNumberGroup(section.name);
        group.folderId = folderId++;
        group.folderName = groupFolderName(section);
        readTagLists(section, group.lists);
    }
    return groups;
}

std::map<int, int> groupMapOf(const std::vector<TagGroup>& groups) {
    std::map<int, int> map;
    for (const TagGroup& group : groups) {
        map[group.number] = group.folderId;
    }
    return map;
}

GroupMembership::GroupMembership(const std::vector<TagGroup>& groups) {
    constexpr int kLastTag = std::numeric_limits<std::uint16_t>::max();  // that a database can have
    for (std::size_t kind = 0; kind < kinds_.size(); ++kind) {
        OfKind& members = kinds_[kind];
        for (const TagGroup& group : groups) {
            const TagList& list = group.lists[kind];
            if (listsEveryTag(list)) {
                members.everyTag.push_back(group.folderId);
                continue;
            }
            for (auto tag = std::ranges::lower_bound(list, 1); tag != list.end(); ++tag) {
                if (*tag > kLastTag) break;
                members.listed.emplace_back(*tag, group.folderId);
            }
        }
        std::ranges::sort(members.listed);
    }
}

const std::vector<int>& GroupMembership::foldersOf(VariableType kind, int tagNumber) {
    OfKind& members = kinds_[static_cast<std::size_t>(kind)];
    std::vector<int> listing;
    while (members.next < members.listed.size() &&
           members.listed[members.next].first <= tagNumber) {
        const auto& [tag, folder] = members.listed[members.next++];
        if (tag == tagNumber) listing.push_back(folder);
    }
    answer_.clear();
    std::ranges::merge(members.everyTag, listing, std::back_inserter(answer_));
    return answer_;
}
