#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "server/attributes/TagGroups.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

TEST(TagGroups, NumbersFoldersInTheOrderOfTheSections) {
    const auto groups = readTagGroups({{"Attributes", {{"VA", "all"}}},
                                       {"Attributes_Group10", {}},
                                       {"Attributes_Group2", {{"RV", "3,1"}}},
                                       {"Attributes_Group2x", {}},
                                       {"My Attributes_Group5", {}},
                                       {"Attributes_Group 2", {}}});
    EXPECT_THAT(groupMapOf(groups), ElementsAre(Pair(-1, 15), Pair(2, 16), Pair(10, 12)));
    EXPECT_THAT(groups.at(1).lists[static_cast<std::size_t>(VariableType::RV)], ElementsAre(1, 3));
}

TEST(TagGroups, FindsTheGroupsOfATag) {
    GroupMembership membership(readTagGroups({{"Attributes_Group1", {{"VA", "2-5"}}},
                                              {"Attributes_Group2", {{"VA", "all"}}},
                                              {"Attributes_Group3", {{"VA", "1, 2, 65535-65540"}}},
                                              {"Attributes_Group4", {{"VD", "2"}, {"VA", ""}}}}));
    EXPECT_THAT(membership.foldersOf(VariableType::VA, 1), ElementsAre(13, 14));
    EXPECT_THAT(membership.foldersOf(VariableType::VA, 2), ElementsAre(12, 13, 14));
    EXPECT_THAT(membership.foldersOf(VariableType::VD, 2), ElementsAre(15)) << "kinds are apart";
    EXPECT_THAT(membership.foldersOf(VariableType::VA, 6), ElementsAre(13)) << "tags left out";
    EXPECT_THAT(membership.foldersOf(VariableType::VA, 65535), ElementsAre(13, 14));
    EXPECT_THAT(membership.foldersOf(VariableType::RV, 1), IsEmpty());
}
