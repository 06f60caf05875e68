#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>

#include "server/attributes/AccessTypeAtr.h"
#include "server/attributes/HidenAttr.h"
#include "server/attributes/PublishedType.h"
#include "support/capture.h"

TEST(AccessTables, HoldTheExportableAttributes) {
    const struct {
        const char* name;
        const AccessTable& table;
        std::size_t count;
        std::vector<int> inside, outside;
    } cases[] = {
        {"VA", tableAccessesVA, 59, {26, 28, 35, 38, 62}, {0, 27, 36, 37, 63}},
        {"VD", tableAccessesVD, 40, {27, 29, 41}, {0, 28, 42}},
        {"DV", tableAccessesDV, 39, {17, 19, 23, 32, 48}, {18, 24, 31, 49}},
        {"AV, 94 left out",
         tableAccessesAV,
         69,
         {7, 20, 41, 44, 45, 48, 49, 52, 59, 67, 69, 72, 75, 93, 95, 96, 107},
         {8, 19, 42, 43, 46, 47, 50, 51, 53, 58, 68, 73, 74, 94, 97, 106, 108}},
        {"RV", tableAccessesRV, 17, {10, 12, 18}, {0, 11, 19}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(c.table.size(), c.count);
        const auto exported = [&](int number) {
            return HidenAttr::checkStatusAttr(number, c.table);
        };
        EXPECT_TRUE(std::ranges::all_of(c.inside, exported));
        EXPECT_TRUE(std::ranges::none_of(c.outside, exported));
        EXPECT_EQ(c.table.at(1), "R") << "the first attribute cannot be written";
        EXPECT_EQ(std::ranges::count(c.table, "RW", [](const auto& row) { return row.second; }),
                  static_cast<std::ptrdiff_t>(c.count - 1));
    }
    EXPECT_FALSE(HidenAttr::checkStatusAttr(1, {}));
}

TEST(AccessTables, BarOtherLayoutsFromLogicalInputs) {
    std::vector<int> barred;
    for (int number = -1; number < 20; ++number) {
        if (barredForRVL(number)) barred.push_back(number);
    }
    EXPECT_EQ(barred, (std::vector<int>{5, 6, 7, 8, 9, 12}));
}

TEST(CheckAccessRights, AnswersTheTextOrTheTablesOwnRight) {
    const AccessTable table = {{1, "R"}, {2, "RW"}, {3, "W"}, {4, "X"}};
    const struct {
        const char* why;
        const char* text;
        int attribute;
        const char* answer;
        const char* printed;
    } cases[] = {
        {"default is read only", "default", 2, "OPC_READABLE", ""},
        {"default may be padded", " \tdefault\r\n\v\f", 3, "OPC_READABLE", ""},
        {"default needs no table", "default", 99, "OPC_READABLE", ""},
        {"no such attribute", "OPC_READABLE", 99, "Error", ""},
        {"unknown right in the table", "OPC_READABLE", 4, "Error", ""},
        {"fits R", "OPC_READABLE", 1, "OPC_READABLE", ""},
        {"fits W", "OPC_WRITEABLE", 3, "OPC_WRITEABLE", ""},
        {"fits RW", "OPC_READABLE", 2, "OPC_READABLE", ""},
        {"fits RW", "OPC_WRITEABLE", 2, "OPC_WRITEABLE", ""},
        {"fits RW", "OPC_READABLE+OPC_WRITEABLE", 2, "OPC_READABLE+OPC_WRITEABLE", ""},
        {"the other order stays", "OPC_WRITEABLE+OPC_READABLE", 2, "OPC_WRITEABLE+OPC_READABLE",
         ""},
        {"too much for R", "OPC_READABLE+OPC_WRITEABLE", 1, "OPC_READABLE", "COME IN R!\n"},
        {"not for W", "OPC_READABLE", 3, "OPC_WRITEABLE", "COME IN W!\n"},
        {"a padded text fits nothing", " OPC_READABLE", 2, "OPC_READABLE+OPC_WRITEABLE",
         "COME IN RW! \n"},
        {"a padded text for R", "OPC_READABLE ", 1, "OPC_READABLE", "COME IN R!\n"},
        {"unknown spelling", "OPC_READ", 2, "OPC_READABLE+OPC_WRITEABLE", "COME IN RW! \n"},
        {"empty", "", 2, "OPC_READABLE+OPC_WRITEABLE", "COME IN RW! \n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        Capture out(STDOUT_FILENO);
        const std::string answer = AccessTypeAtr::checkAccessRights(c.text, c.attribute, table);
        EXPECT_EQ(out.text(), c.printed);
        EXPECT_EQ(answer, c.answer);
    }
}

TEST(CheckAccessRights, TrimsAllWhiteSpaceAtTheEnds) {
    EXPECT_EQ(AccessTypeAtr::trim("\v\f a b\t\r\n"), "a b");
    EXPECT_EQ(AccessTypeAtr::trim(" \n "), "");
    EXPECT_EQ(AccessTypeAtr::trim("\xff"), "\xff") << "a byte of CP866 is no white space";
}

TEST(PublishedTypes, AreFoundByKindAndLayout) {
    ASSERT_NE(findPublishedType(0, 0), nullptr);
    EXPECT_EQ(findPublishedType(0, 0)->folderId, 1U);
    EXPECT_EQ(findPublishedType(3, 0)->folderName, "2_VD");
    EXPECT_EQ(findPublishedType(2, 2)->marker, "Type52.");
    EXPECT_EQ(&findPublishedType(2, 1)->access, &tableAccessesRV);
    EXPECT_EQ(findPublishedType(2, 3), nullptr) << "a manual input of unknown layout";
    EXPECT_EQ(findPublishedType(5, 0), nullptr);
}
