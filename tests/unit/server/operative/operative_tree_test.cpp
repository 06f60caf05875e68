#include "../server_fixture.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Area = ControllerDatabase::Area;

namespace {

class OperativeTree : public OperatorView {
  protected:
    OperativeTree() {
        database.clear();
        for (const char layout : {'\0', '\1', '\2', '\7'})
            database.put(Area::passport, DB_HI, ++lastInput_, 27, layout);
    }

    /// Builds the tree of a configuration in a process of its own, where `check` looks at it.
    /// @return what the process wrote
    static std::string build(const std::string& iniCp866, std::function<void(UAServer&)> check) {
        const auto child = withConfiguration(iniCp866, [&](UAServer& server) {
            EXPECT_EQ(server.initializeOperativeTree(), UA_STATUSCODE_GOOD);
            check(server);
        });
        EXPECT_EQ(child->wait(), 0);
        return child->out();
    }

  private:
    int lastInput_ = 0;
};

std::size_t count(const std::string& text, const std::string& part) {
    std::size_t found = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++found;
    return found;
}

}  // namespace

TEST_F(OperativeTree, ShowsListedTagsBelowTheFolderOfTheirType) {
    database.put(Area::passport, DB_VA, 3, 103, 7.5F);
    build(
        R"([General]
AplicationName = Котёл 1
[Attributes]
VA = 1,3
VD = 2
RV = all
DV = all
Type1.Val = Знач, 29, OPC_READABLE+OPC_WRITEABLE
Type2.A = D, 27
Type4.A = D, 20, OPC_WRITEABLE
Type50.A = N, 8
Type51.A = S, 12
Type51.B = T, 1)"_cp866,
        [](UAServer& s) {
            const std::string ns = std::to_string(s.namespaceIndex());
            EXPECT_THAT(children(s, UA_NODEID_NUMERIC(0, 85)), ElementsAre("35 8 61"));
            EXPECT_EQ(names(s, node(s, 8)), ns + ":Котёл1|en-US:Котёл1|:");
            EXPECT_THAT(children(s, node(s, 8)), ElementsAre("35 6 61"));
            EXPECT_THAT(children(s, node(s, 6)),
                        ElementsAre("35 1 61", "35 10 61", "35 4 61", "35 5 61", "35 9 61"));
            EXPECT_EQ(names(s, node(s, 10)), ns + ":51_RVS|en-US:51_RVS|:");
            EXPECT_THAT(children(s, node(s, 1)), ElementsAre("47 VA_1 58", "47 VA_3 58"));
            EXPECT_THAT(children(s, node(s, 4)), ElementsAre("47 VD_2 58"));
            EXPECT_THAT(children(s, node(s, 5)), ElementsAre("47 DV_1 58", "47 DV_2 58"));
            EXPECT_THAT(children(s, node(s, 9)), ElementsAre("47 RV_1 58"));
            EXPECT_THAT(children(s, node(s, 10)), ElementsAre("47 RV_2 58"))
                << "one running number for all layouts";
            EXPECT_EQ(names(s, node(s, "VA_3")), ns + ":VA_3|ru-RU:VA_3|ru-RU:VA_3");

            const std::string item = "Котёл1.Operative.1_VA.VA_3.Знач.A29";
            EXPECT_THAT(children(s, node(s, "VA_3")), ElementsAre("47 " + item + " 63"));
            EXPECT_EQ(names(s, node(s, item)), ns + ":Знач|ru-RU:Знач|ru-RU:VA_3.A29");
            EXPECT_THAT(children(s, node(s, "RV_2")),
                        ElementsAre("47 Котёл1.Operative.51_RVS.RV_2.S.A12 63",
                                    "47 Котёл1.Operative.51_RVS.RV_2.T.A1 63"));

            UA_Variant value;
            ASSERT_EQ(UA_Server_readValue(s.instance(), node(s, item), &value), UA_STATUSCODE_BAD)
                << "the quality in the database";
            database.setQuality(DB_VA, 3, 0xC0);
            ASSERT_EQ(UA_Server_readValue(s.instance(), node(s, item), &value), UA_STATUSCODE_GOOD);
            EXPECT_EQ(*static_cast<float*>(value.data), 7.5F);
            EXPECT_EQ(UA_Server_writeValue(s.instance(), node(s, item), value), UA_STATUSCODE_GOOD);
            EXPECT_EQ(database.get<float>(Area::currentData, DB_VA, 3, 0), 7.5F);
            UA_Variant_clear(&value);

            UA_NodeId type{};
            UA_Int32 rank = 0;
            UA_Server_readDataType(s.instance(), node(s, item), &type);
            UA_Server_readValueRank(s.instance(), node(s, item), &rank);
            EXPECT_EQ(toText(type), "24") << "another one makes the library write zeros";
            EXPECT_EQ(rank, UA_VALUERANK_ANY);
        });
}

TEST_F(OperativeTree, WritesNothingWhileItIsBuilt) {
    database.put(Area::currentData, DB_VA, 1, 0, 1.5F);
    database.put(Area::passport, DB_VA, 1, 34, 2.5F);
    build(
        "[Attributes]\nVA=all\nType1.A=Now,29,OPC_READABLE+OPC_WRITEABLE\nType1.B=Low,11,"
        "OPC_WRITEABLE\n",
        [](UAServer&) {});
    EXPECT_EQ(database.get<float>(Area::currentData, DB_VA, 1, 0), 1.5F);
    EXPECT_EQ(database.get<float>(Area::passport, DB_VA, 1, 34), 2.5F);
}

TEST_F(OperativeTree, GivesEachItemItsAccessLevel) {
    build(
        "[Attributes]\nVA=1\n"
        "Type1.A=a,2,OPC_READABLE\nType1.B=b,2,OPC_WRITEABLE\n"
        "Type1.C=c,2,OPC_READABLE+OPC_WRITEABLE\nType1.D=d,2,OPC_WRITEABLE+OPC_READABLE\n"
        "Type1.E=e,2\nType1.F=f,2,nonsense\nType1.G=g,1,OPC_WRITEABLE\n",
        [](UAServer& s) {
            const struct {
                const char* name;
                UA_Byte level;
            } cases[] = {{"a.A2", 1}, {"b.A2", 2}, {"c.A2", 3}, {"d.A2", 3},
                         {"e.A2", 1}, {"f.A2", 3}, {"g.A1", 1}};
            for (const auto& c : cases) {
                UA_Byte level = 0;
                UA_Server_readAccessLevel(
                    s.instance(), node(s, std::string("Operative.1_VA.VA_1.") + c.name), &level);
                EXPECT_EQ(level, c.level) << c.name;
            }
        });
}

TEST_F(OperativeTree, DropsFoldersByTwoRules) {
    build("[Attributes]\nVA=7\nAV=x\nRV=all\nType1.A=a,2\nType50.A=a,2\nType51.A=a,11\n",
          [](UAServer& s) {
              EXPECT_THAT(children(s, node(s, 6)), ElementsAre("35 1 61", "35 9 61"))
                  << "VA's list is not empty though no tag has its number; the entry of 51 is "
                     "refused, 52 has none";
              EXPECT_THAT(children(s, node(s, 1)), IsEmpty());
          });
    const auto child = withConfiguration("[Attributes]\nRV=1\nType50.A=a,2\n", [](UAServer& s) {
        std::erase_if(rtexvariable, [](const auto& variable) { return variable->getType() == 1; });
        EXPECT_EQ(s.initializeOperativeTree(), UA_STATUSCODE_GOOD);
        EXPECT_THAT(children(s, UA_NODEID_NUMERIC(0, 85)), ElementsAre("35 6 61"));
        EXPECT_THAT(children(s, node(s, 6)), ElementsAre("35 2 61", "35 9 61"))
            << "a kind of which the database has nothing keeps its folder";
    });
    EXPECT_EQ(child->wait(), 0);
}

TEST_F(OperativeTree, ReportsRefusedAttributesOnceALine) {
    const std::string out = build(
        "[Attributes]\nVA=all\nRV=3\n"
        "Type1.A=refused,27\nType1.B=zero,0,default\nType1.C=fine,2\n"
        "Type52.A=number,5\nType52.B=text,12\nType52.C=none,11\nType52.D=logical,14\n"
        "Type52.E=common,10\n",
        [](UAServer& s) {
            EXPECT_THAT(children(s, node(s, "VA_2")),
                        ElementsAre("47 Operative.1_VA.VA_2.fine.A2 63"));
            EXPECT_THAT(children(s, node(s, "RV_3")),
                        ElementsAre("47 Operative.52_RVL.RV_3.common.A10 63",
                                    "47 Operative.52_RVL.RV_3.logical.A14 63"));
            EXPECT_THAT(usedLines, ElementsAre(4, 5, 7, 8, 9));
        });
    EXPECT_EQ(count(out, "journal 18094, 3, 4, "), 5U);
    std::vector<std::string> lines;
    for (const char* line : {"4", "5", "7", "8", "9"})
        lines.push_back(std::string("ЦП 3: OPC UA Сервер: Ошибка конфигурации: 4 строка №") + line);
    EXPECT_EQ(logLines(), lines);
}

TEST_F(OperativeTree, KeepsTagsWithoutAnyItem) {
    const std::string out = build("[Attributes]\nVA=1\nType1.A=refused,27\n", [](UAServer& s) {
        EXPECT_THAT(children(s, node(s, 1)), ElementsAre("47 VA_1 58"));
        EXPECT_THAT(children(s, node(s, "VA_1")), IsEmpty());
    });
    EXPECT_THAT(out, Not(HasSubstr("Failed")));
}

TEST_F(OperativeTree, ReportsAttributesThatTheDatabaseLacksAndShowsThemAllTheSame) {
    build("[Attributes]\nVA=all\nType1.A=a,29\nType1.B=b,51\n", [](UAServer& s) {
        missAttrManager.sendMessage();
        EXPECT_THAT(children(s, node(s, "VA_2")), ElementsAre("47 Operative.1_VA.VA_2.a.A29 63",
                                                              "47 Operative.1_VA.VA_2.b.A51 63"));
    });
    EXPECT_EQ(logLines().size(), 1U);
}

TEST_F(OperativeTree, TakesAStructureBackWhenItsLastItemFails) {
    std::string ini = "[Attributes]\nVA=1,2\nAV=1\nRV=1,2\nVD=1\nDV=1\n";
    for (const char* number : {"1", "2", "3", "4", "50"}) {
        for (const char* entry : {"A", "B"})
            ini += std::string("Type") + number + '.' + entry + "=same,2\n";
    }
    const std::string out =
        build(ini + "Type51.A=same,2\nType51.B=same,2\nType51.C=last,2\n", [](UAServer& s) {
            for (const UA_UInt32 folder : {1U, 2U, 4U, 5U, 9U})
                EXPECT_THAT(children(s, node(s, folder)), IsEmpty()) << folder;
            EXPECT_THAT(children(s, node(s, "RV_2")),
                        ElementsAre("47 Operative.51_RVS.RV_2.last.A2 63",
                                    "47 Operative.51_RVS.RV_2.same.A2 63"))
                << "a later success hides the failure";
            EXPECT_EQ(varContexts.size(), 15U) << "contexts stay, also of removed nodes";
        });
    const struct {
        const char* word;
        std::size_t tags;
    } kinds[] = {{"VA", 2}, {"AV", 1}, {"RV", 1}, {"VD", 1}, {"DV", 1}};
    for (const auto& [word, tags] : kinds) {
        EXPECT_EQ(count(out, std::string("info/application\x1b[0m\tRolled back ") + word +
                                 " structure due to items creation failure\n"),
                  tags);
        EXPECT_EQ(count(out, std::string("warn/server\x1b[0m\tFailed to create structure for ") +
                                 word + " variable: BadNodeIdExists\n"),
                  tags);
    }
}

TEST_F(OperativeTree, LeavesOutInputsOfUnknownLayout) {
    const std::string out = build("[Attributes]\nRV=4\nType50.A=a,2\n", [](UAServer& s) {
        EXPECT_THAT(children(s, node(s, "RV_4")), IsEmpty());
    });
    EXPECT_EQ(count(out, "Failed to create structure for RV variable: "), 1U);
}

TEST_F(OperativeTree, MakesItemsForAnyParentAndPrefix) {
    build("[Attributes]\nType1.A=flat,29\n[Attributes_Group3]\nType1.A=grouped,11\n",
          [](UAServer& s) {
              database.setTime(DB_VA, 2, 5, 0);
              std::string name = "group";
              UA_NodeId folder = node(s, 6);
              s.createFolder(uaNodeIdView(s.namespaceIndex(), "parent"), name.data(), &folder);
              EXPECT_EQ(s.createUAItems(rtexvariable[1].get(), 2, "parent", "Operative.G.", "group",
                                        12, {{3, 12}}),
                        UA_STATUSCODE_GOOD);
              EXPECT_THAT(children(s, node(s, "parent")),
                          ElementsAre("47 Operative.G.VA_2.grouped.A11 63"));
              EXPECT_EQ(rtexvariable[1]->getIdTag(), 2);
              EXPECT_EQ(rtexvariable[1]->getIdAttr(), 11);
              ASSERT_EQ(varContexts.size(), 1U);
              EXPECT_EQ(varContexts[0]->timestamp, 116'444'736'050'000'000);
              EXPECT_EQ(s.createUAItems(nullptr, 1, "parent", "", "main", 0, {}),
                        UA_STATUSCODE_BADINTERNALERROR);
          });
}
