#include "server/attributes/AccessTypeAtr.h"
#include "server/attributes/TagConfig.h"
#include "server/attributes/TagGroups.h"
#include "support/capture.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

// What fits the table's right is seen by every client; here is what does not.
TEST(CheckAccessRights, AnswersTheTablesOwnRightForATextThatDoesNotFit) {
    const AccessTable table = {{1, "R"}, {2, "RW"}, {3, "W"}, {4, "X"}};
    const struct {
        const char *why, *text;
        int attribute;
        const char *answer, *printed;
    } cases[] = {
        {"default may be padded", " \tdefault\r\n\v\f", 3, "OPC_READABLE", ""},
        {"default needs no table", "default", 99, "OPC_READABLE", ""},
        {"no such attribute", "OPC_READABLE", 99, "Error", ""},
        {"unknown right in the table", "OPC_READABLE", 4, "Error", ""},
        {"fits W", "OPC_WRITEABLE", 3, "OPC_WRITEABLE", ""},
        {"too much for R", "OPC_READABLE+OPC_WRITEABLE", 1, "OPC_READABLE", "COME IN R!\n"},
        {"not for W", "OPC_READABLE", 3, "OPC_WRITEABLE", "COME IN W!\n"},
        {"padded", " OPC_READABLE", 2, "OPC_READABLE+OPC_WRITEABLE", "COME IN RW! \n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        Capture out(STDOUT_FILENO);
        EXPECT_EQ(AccessTypeAtr::checkAccessRights(c.text, c.attribute, table), c.answer);
        EXPECT_EQ(out.text(), c.printed);
    }
    EXPECT_EQ(AccessTypeAtr::trim("\v\f a b\t\r\n"), "a b");
    EXPECT_EQ(AccessTypeAtr::trim(" \n "), "");
    EXPECT_EQ(AccessTypeAtr::trim("\xff"), "\xff") << "a byte of CP866 is no white space";
}

TEST(TagConfig, ChoosesSectionsByMode) {
    const std::vector<Section> sections = {
        {"Attributes", {{"Type1.X", "flat,1"}}},
        {"attributes", {{"Type1.X", "other case,1"}}},
        {"Attributes_Group1", {{"Type1.X", "group 1,1"}}},
        {"Attributes_Group12", {{"Type1.X", "group 12,1"}}},
        {"Attributes", {{"Type1.X", "flat again, -3"}, {"Type1.Y", "far, 99999999999999999999"}}}};
    const struct {
        const char *why, *mode;
        int group;
        std::map<int, int> folders;
        const char* entries;
    } cases[] = {
        {"the flat tree", "main", 12, {{12, 12}}, "flat 1 flat again -3 far 2147483647 "},
        {"the group of the folder", "group", 13, {{2, 12}, {12, 13}}, "group 12 1 "},
        {"without folders it is the number", "group", 1, {}, "group 1 1 group 12 1 "},
        {"no such folder", "group", 99, {{1, 12}}, ""},
        {"no such mode", "Main", 1, {}, ""},
    };
    for (const auto& c : cases) {
        std::string entries;
        for (const TagInfo& entry : readTagConfig(sections, "Type1.", c.mode, c.group, c.folders)) {
            entries += entry.name + ' ' + std::to_string(entry.attributeNumber) + ' ';
            EXPECT_TRUE(entry.missing.empty()) << "only the database knows";
        }
        EXPECT_EQ(entries, c.entries) << c.why;
    }
    EXPECT_EQ(trim("\t \r\n\va b\f\n"), "\va b\f") << "four characters only";
}

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
