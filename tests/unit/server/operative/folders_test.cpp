#include "../server_fixture.h"

using testing::ElementsAre;
using testing::HasSubstr;

TEST(Folders, ThatCannotBeMadeStaySilent) {
    UAServer server;
    std::string name = "Котёл";
    UA_NodeId none = node(server, 99);
    server.createFolder(node(server, 8), name.data(), nullptr);
    Capture out(STDOUT_FILENO);
    server.createFolder(node(server, 8), name.data(), nullptr);
    server.createFolder(node(server, 7), name.data(), &none);
    EXPECT_EQ(out.text(), "");
    EXPECT_THAT(children(server, UA_NODEID_NUMERIC(0, 85)), ElementsAre("35 8 61"));
}

TEST(Folders, OfManualInputsAreMadeOnceAGroup) {
    UAServer server;
    std::string name = "group";
    server.createFolder(node(server, 12), name.data(), nullptr);
    UA_NodeId id = UA_NODEID_NULL;
    EXPECT_EQ(server.createFolderRVGroup("50_РУЧ", 12, nullptr), UA_STATUSCODE_GOOD);
    EXPECT_EQ(server.createFolderRVGroup("50_РУЧ", 12, &id), UA_STATUSCODE_GOOD);
    EXPECT_EQ(toText(id), "12_50_РУЧ");
    EXPECT_EQ(id.namespaceIndex, server.namespaceIndex());
    UA_NodeId_clear(&id);
    EXPECT_THAT(children(server, node(server, 12)), ElementsAre("35 12_50_РУЧ 61"));

    id = UA_NODEID_NUMERIC(1, 5);
    Capture out(STDOUT_FILENO);
    EXPECT_EQ(server.createFolderRVGroup("abc", 99, &id), UA_STATUSCODE_BADPARENTNODEIDINVALID);
    EXPECT_TRUE(UA_NodeId_isNull(&id));
    EXPECT_THAT(out.text(),
                HasSubstr("error/application\x1b[0m\t"
                          "Failed to add folder abc under parent 99: BadParentNodeIdInvalid\n"));
}
