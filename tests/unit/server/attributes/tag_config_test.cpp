#include <gtest/gtest.h>

#include "server/attributes/TagConfig.h"

TEST(TagConfig, ChoosesSectionsByMode) {
    const std::vector<Section> sections = {
        {"Attributes", {{"Type1.X", "flat,1"}}},
        {"attributes", {{"Type1.X", "other case,1"}}},
        {"Attributes_Group1", {{"Type1.X", "group 1,1"}}},
        {"Attributes_Group12", {{"Type1.X", "group 12,1"}}},
        {"Attributes", {{"Type1.X", "flat again, -3"}, {"Type1.Y", "far, 99999999999999999999"}}}};
    const struct {
        const char* why;
        const char* mode;
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
    EXPECT_EQ(trim("\t \r\na b\n"), "a b");
    EXPECT_EQ(trim("\va\f"), "\va\f") << "four characters only";
}
