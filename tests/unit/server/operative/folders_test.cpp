#include "../server_fixture.h"

using testing::ElementsAre;
using testing::HasSubstr;

TEST(Folders, AreMadeBelowTheirParentOrTheObjectsFolder) {
    UAServer server;
    const std::string ns = std::to_string(server.namespaceIndex());
    std::string name = "Котёл";
    server.createFolder(node(server, 8), name.data(), nullptr);
    UA_NodeId parent = node(server, 8);
    std::string inner = "inner";
    server.createFolder(node(server, 6), inner.data(), &parent);
    EXPECT_THAT(children(server, UA_NODEID_NUMERIC(0, 85)), ElementsAre("35 8 61"));
    EXPECT_THAT(children(server, parent), ElementsAre("35 6 61"));
    EXPECT_EQ(names(server, parent), ns + ":Котёл|en-US:Котёл|:") << "no description";

    Capture out(STDOUT_FILENO);
    server.createFolder(node(server, 6), name.data(), nullptr);
    UA_NodeId none = node(server, 99);
    server.createFolder(node(server, 7), name.data(), &none);
    EXPECT_EQ(out.text(), "") << "an id that is taken and an unknown parent stay silent";
    EXPECT_EQ(names(server, node(server, 6)), ns + ":inner|en-US:inner|:");
}

TEST(Folders, OfManualInputsAreMadeOnceAGroup) {
    UAServer server;
    std::string name = "group";
    server.createFolder(node(server, 12), name.data(), nullptr);
    server.createFolder(node(server, 13), name.data(), nullptr);
    for (int attempt = 0; attempt < 2; ++attempt) {
        UA_NodeId id = UA_NODEID_NULL;
        EXPECT_EQ(server.createFolderRVGroup("50_РУЧ", 12, &id), UA_STATUSCODE_GOOD);
        EXPECT_EQ(toText(id), "12_50_РУЧ");
        EXPECT_EQ(id.namespaceIndex, server.namespaceIndex());
        UA_NodeId_clear(&id);
    }
    EXPECT_EQ(server.createFolderRVGroup("50_РУЧ", 13, nullptr), UA_STATUSCODE_GOOD);
    EXPECT_THAT(children(server, node(server, 12)), ElementsAre("35 12_50_РУЧ 61"));
    EXPECT_THAT(children(server, node(server, 13)), ElementsAre("35 13_50_РУЧ 61"));
    EXPECT_THAT(names(server, node(server, "12_50_РУЧ")), HasSubstr("|en-US:50_РУЧ|:"));
}

TEST(Folders, OfManualInputsSayWhyTheyCannotBeMade) {
    UAServer server;
    UA_NodeId id = UA_NODEID_NUMERIC(1, 5);
    Capture out(STDOUT_FILENO);
    const UA_StatusCode status = server.createFolderRVGroup("abc", 99, &id);
    EXPECT_EQ(status, UA_STATUSCODE_BADPARENTNODEIDINVALID);
    EXPECT_TRUE(UA_NodeId_isNull(&id));
    EXPECT_THAT(out.text(),
                HasSubstr("error/application\x1b[0m\t"
                          "Failed to add folder abc under parent 99: BadParentNodeIdInvalid\n"));
}
