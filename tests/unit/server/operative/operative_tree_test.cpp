#include "../server_fixture.h"

using testing::ElementsAre;
using testing::IsEmpty;
using Area = ControllerDatabase::Area;

namespace {

class OperativeTree : public OperatorView {
  protected:
    OperativeTree() {
        database.clear();
        database.put(Area::passport, DB_HI, 2, 27, '\1');
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
};

std::size_t count(const std::string& text, const std::string& part) {
    std::size_t found = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++found;
    return found;
}

}  // namespace

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
    for (const std::string word : {"VA", "AV", "RV", "VD", "DV"}) {
        const std::size_t tags = word == "VA" ? 2 : 1;
        EXPECT_EQ(count(out, "info/application\x1b[0m\tRolled back " + word +
                                 " structure due to items creation failure\n"),
                  tags);
        EXPECT_EQ(count(out, "warn/server\x1b[0m\tFailed to create structure for " + word +
                                 " variable: BadNodeIdExists\n"),
                  tags);
    }
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
