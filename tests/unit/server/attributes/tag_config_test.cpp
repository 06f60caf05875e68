#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tuple>

#include "server/attributes/TagConfig.h"

using testing::ElementsAre;

static std::vector<std::string> names(const std::vector<TagInfo>& entries) {
    std::vector<std::string> result;
    result.reserve(entries.size());
    for (const TagInfo& entry : entries)
        result.push_back(entry.name);
    return result;
}

TEST(TagConfig, SplitsAnEntryIntoNameNumberAndAccess) {
    const struct {
        const char* why;
        const char* value;
        const char* name;
        int number;
        const char* access;
    } cases[] = {
        {"all three", " \x92\xa5\xac\xaf ,\t29 , OPC_READABLE ", "\x92\xa5\xac\xaf", 29,
         "OPC_READABLE"},
        {"blank access", "N, 5, \t\r\n", "N", 5, "default"},
        {"the rest is the access", "N,5,a, b,c", "N", 5, "a, b,c"},
        {"a number's start", "N,12x,a", "N", 12, "a"},
        {"no number", "N,x12,a", "N", 0, "a"},
        {"negative", "N,-3", "N", -3, "default"},
        {"beyond the range", "N,99999999999999999999", "N", 2147483647, "default"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        const auto entries =
            readTagConfig({{"Attributes", {{"Type1.X", c.value}}}}, "Type1.", "main", 0, {});
        ASSERT_EQ(entries.size(), 1U);
        EXPECT_EQ(entries[0].key, "Type1.X");
        EXPECT_EQ(entries[0].name, c.name);
        EXPECT_EQ(entries[0].attributeNumber, c.number);
        EXPECT_EQ(entries[0].access, c.access);
        EXPECT_TRUE(entries[0].missing.empty()) << "only the database knows";
    }
}

TEST(TagConfig, TakesEntriesThatBeginWithTheMarkerAndHoldAComma) {
    const std::vector<Section> sections = {{"Attributes",
                                            {{"Type1.B", "second, 2"},
                                             {"type1.C", "case, 3"},
                                             {"Type11.D", "other type, 4"},
                                             {"xType1.E", "inside, 5"},
                                             {"Type1.G", "no comma"},
                                             {"Type1.", "marker only, 6"},
                                             {"Type1.H", "same number, 2"}}}};
    EXPECT_THAT(names(readTagConfig(sections, "Type1.", "main", 0, {})),
                ElementsAre("second", "marker only", "same number"));
}

TEST(TagConfig, ChoosesSectionsByMode) {
    const auto section = [](const char* name, const char* entry) {
        return Section{name, {{"Type1.X", std::string(entry) + ", 1"}}};
    };
    const std::vector<Section> sections = {
        section("Attributes", "flat"),           section("attributes", "other case"),
        section("Attributes_Group1", "group 1"), section("Attributes_Group12", "group 12"),
        section("Attributes_Group2", "group 2"), section("Attributes", "flat again")};
    const std::map<int, int> folders = {{2, 12}, {12, 13}};
    const auto read = [&](const char* mode, int group, const std::map<int, int>& map) {
        return names(readTagConfig(sections, "Type1.", mode, group, map));
    };
    EXPECT_THAT(read("main", 12, folders), ElementsAre("flat", "flat again"));
    EXPECT_THAT(read("group", 12, folders), ElementsAre("group 2")) << "folder 12 is group 2";
    EXPECT_THAT(read("group", 13, folders), ElementsAre("group 12"));
    EXPECT_THAT(read("group", 1, {}), ElementsAre("group 1", "group 12")) << "the name contains it";
    EXPECT_THAT(read("group", 99, folders), ElementsAre());
    for (const char* mode : {"Main", "", "groups"})
        EXPECT_THAT(read(mode, 1, {}), ElementsAre());
}

TEST(TagConfig, TrimsFourCharactersOnly) {
    EXPECT_EQ(trim("\t \r\na b\n"), "a b");
    EXPECT_EQ(trim("\va\f"), "\va\f");
    EXPECT_EQ(trim(" \t"), "");
}
