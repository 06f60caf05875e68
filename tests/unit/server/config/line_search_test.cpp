#include "server/config/LineSearch.h"

#include "tests/support/operator_view.h"

static const std::string kPath = "/zrt/settings/lines.ini";

// What operators get of these searches is a system test; here are the odd choices of line.
TEST(LineSearch, FindsTheFirstLineThatLooksLikeAKeyOrASection) {
    const struct {
        const char* why;
        std::int32_t (*find)(const std::string&, const std::string&);
        std::string file;
        std::int32_t line;
    } cases[] = {
        {"blanks and tabs before it", findLineNumber, "\n \t Bad = 2\n", 2},
        {"'=' anywhere on the line", findLineNumber, "Bad\nBad; x=2\n", 2},
        {"in a comment", findLineNumber, ";Bad=1\nBad=2\n", 2},
        {"nothing found, no line feed at the end", findLineNumber, "a=1\nb=2", 3},
        {"text around the brackets", findLineNumberBySubstring, "x Bad ] [ ]\n", 1},
        {"brackets the other way round", findLineNumberBySubstring, "] Bad [\n[Bad]\n", 2},
        {"another case", findLineNumberBySubstring, "[bad]\n", 2},
    };
    for (const auto& c : cases) {
        writeFile(kPath, c.file);
        EXPECT_EQ(c.find(kPath, "Bad"), c.line) << c.why;
    }
}

TEST(LineSearch, FindsAnAttributeEntryInItsSections) {
    writeFile(
        kPath,
        "Type1.a=before any heading\n[General]\nType1.a=x\n"                                  // 1-3
        " [ Attributes ] ; comment\nType1.ab=longer\n\t\rType1.a \t= found\nType1.a=again\n"  // -7
        "[Attributes_Group1]\nType1.g=1\n[Attributes_Group12]\nType1.g2=12\n"                 // -11
        "[ATTRIBUTES]\nType1.b=merged with the first spelling\n"                              // -13
        "[Old Attributes_Group2 x]\nType1.g2 x=2\nType1.g2=2\n"                               // -16
        "[Attributes\nType1.c=under a heading that is not closed\n"                           // -18
        "[Attributes]\nType1.c=closed\n");
    const std::map<int, int> groups{{1, 13}, {2, 12}, {12, 14}, {3, 15}};
    const struct {
        const char* why;
        std::string key;
        std::map<int, int> groupMap;
        int groupFolder;
        std::int32_t line;
    } cases[] = {
        {"the flat tree's section, not others", "Type1.a", {}, 0, 6},
        {"an empty map is the flat tree", "Type1.a", {}, 13, 6},
        {"folder 0 is the flat tree, without the groups", "Type1.g", groups, 0, 21},
        {"sections of one name in two cases", "Type1.b", {}, 0, 13},
        {"a heading that is not closed is another section", "Type1.c", {}, 0, 20},
        {"the group of the folder", "Type1.g", groups, 13, 9},
        {"a number that is the beginning of another", "Type1.g2", groups, 13, 11},
        {"the number with text around", "Type1.g2", groups, 12, 16},
        {"a group without a section", "Type1.g", groups, 15, 21},
        {"a folder that is not in the map", "Type1.g", groups, 99, 21},
    };
    for (const auto& c : cases)
        EXPECT_EQ(findLineNumberTagConf(kPath, c.key, c.groupFolder, c.groupMap), c.line) << c.why;
}

TEST(LineSearch, NoticesAnotherFileAndAChangedOne) {
    writeFile(kPath, "a=1\nb=2\n");
    writeFile("/zrt/settings/other.ini", "b=2\n");
    EXPECT_EQ(findLineNumber(kPath, "b"), 2);
    EXPECT_EQ(findLineNumber("/zrt/settings/other.ini", "b"), 1);
    writeFile(kPath, "a=1\n\nb=2\n");
    EXPECT_EQ(findLineNumber(kPath, "b"), 3);
    std::filesystem::remove(kPath);
    std::vector<std::int32_t> used{5000, -1};
    EXPECT_EQ(findLineNumberParam(kPath, "b", used), 1);
    EXPECT_EQ(used, (std::vector<std::int32_t>{5000, -1, 1}));
}
