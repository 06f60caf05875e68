#include "server/kinds/AccessTypeAtr.h"
#include "server/plan/TagConfig.h"
#include "server/plan/TagGroups.h"
#include "tests/support/capture.h"

// Texts that fit the table's right are covered by the system tests; these do not fit.
TEST(CheckAccessRights, AnswersTheTablesOwnRightForATextThatDoesNotFit) {
    const AccessTable table = {
        {1, Access::read}, {2, Access::readWrite}, {3, Access::write}, {4, Access::none}};
    const struct {
        const char *why, *text;
        int attribute;
        const char *answer, *printed;
    } cases[] = {
        {"default may be padded", " \tdefault\r\n\v\f", 3, "OPC_READABLE", ""},
        {"default needs no table", "default", 99, "OPC_READABLE", ""},
        {"no such attribute", "OPC_READABLE", 99, "Error", ""},
        {"no right in the table", "OPC_READABLE", 4, "Error", ""},
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

// Which sections give a tag its entries and its groups shows in the address space.
TEST(TagConfig, AnswersOnlyWhatIsAsked) {
    const std::vector<Section> sections = {{"Attributes", {{"Type1.X", "flat,-3"}}},
                                           {"Attributes_Group12", {{"Type1.X", "group,1"}}},
                                           {"Attributes", {{"Type1.Y", "far, 99999999999999"}}}};
    const struct {
        const char *why, *mode;
        int group;
        std::map<int, int> folders;
        const char* entries;
    } cases[] = {
        {"the flat tree", "main", 12, {{12, 12}}, "flat -3 far 2147483647 "},
        {"the group of the folder", "group", 13, {{2, 12}, {12, 13}}, "group 1 "},
        {"without folders it is the number", "group", 12, {}, "group 1 "},
        {"no such folder", "group", 99, {{12, 12}}, ""},
        {"no such mode", "Main", 1, {}, ""},
    };
    for (const auto& c : cases) {
        std::string entries;
        const auto entriesOf = [&sections](const auto&... of) {
            const auto source = entrySource(of...);
            return source ? readTagConfig(sections, "Type1.", *source) : std::vector<TagInfo>{};
        };
        for (const TagInfo& entry : entriesOf(c.mode, c.group, c.folders)) {
            entries += entry.name + ' ' + std::to_string(entry.attributeNumber) + ' ';
            EXPECT_TRUE(entry.missing.empty()) << "only the database knows";
        }
        EXPECT_EQ(entries, c.entries) << c.why;
    }
    EXPECT_EQ(trim("\t \r\n\va b\f\n"), "\va b\f") << "four characters only";
    const auto groups = readTagGroups({{"Attributes_Group1", {{"VA", "1, 65535-65540"}}}});
    GroupMembership membership(groups);
    EXPECT_EQ(membership.groupsOf(VariableType::VA, 65535), std::vector{&groups[0]});
    EXPECT_TRUE(membership.groupsOf(VariableType::VA, 2).empty());
}
