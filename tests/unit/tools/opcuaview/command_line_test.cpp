#include "tools/opcuaview/command_line.h"

#include "tests/support/capture.h"
#include "tools/opcuaview/exit_status.h"

namespace tools::opcuaview {

TEST(CommandLine, AnswersByTextAndStatus) {
    const char* const nobody = "opc.tcp://127.0.0.1:1";
    const struct {
        const char* why;
        std::vector<const char*> arguments;
        int status;
        const char* says;
    } cases[] = {
        {"help", {"--help"}, kDone, "watch"},
        {"help of a command", {"watch", "--help"}, kDone, "--seconds"},
        // Each of these would end with another status if it got as far as connecting.
        {"no command", {}, kBadUsage, "не указана команда"},
        {"unknown option", {"watch", "--colour"}, kBadUsage, "--colour"},
        {"not an address", {"watch", "--url", "http://localhost:4840"}, kBadUsage, "opc.tcp://"},
        {"not a number", {"watch", "--seconds", "ten"}, kBadUsage, "\"ten\""},
        {"no time at all", {"watch", "--seconds", "0"}, kBadUsage, "\"0\""},
        {"in English", {"watch", "--seconds", "ten", "--lang", "en"}, kBadUsage, "is no number"},
        {"a check's own status", {"check", "--max-bad", "few"}, kUnknown, "\"few\""},
        {"would load the server", {"watch", "--interval", "1"}, kBadUsage, "50..3600000"},
        {"not a node id", {"watch", "--node", "Operative"}, kBadUsage, "\"Operative\""},
        {"two ways", {"watch", "--node", "ns=1;i=1", "--filter", "VA"}, kBadUsage, "--node"},
        {"nobody is there", {"watch", "--url", nobody, "--wait", "0"}, kCannotConnect, nobody},
    };
    for (auto c : cases) {
        SCOPED_TRACE(c.why);
        c.arguments.insert(c.arguments.begin(), "opcuaview");
        Capture out(STDOUT_FILENO);
        Capture err(STDERR_FILENO);
        EXPECT_EQ(runProgram(static_cast<int>(c.arguments.size()), c.arguments.data()), c.status);
        EXPECT_THAT(c.status == kDone ? out.text() : err.text(), testing::HasSubstr(c.says));
        EXPECT_EQ(c.status == kDone ? err.text() : out.text(), "");
    }
}

}  // namespace tools::opcuaview
