#include "tools/opcuaview/command_line.h"

#include <gmock/gmock.h>

#include <vector>

namespace opcuaview {

using testing::HasSubstr;

struct Answer {
    int status;
    std::string out;
    std::string err;
};

static Answer run(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "opcuaview");
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const int status = runProgram(static_cast<int>(arguments.size()), arguments.data());
    std::string out = testing::internal::GetCapturedStdout();
    return {status, std::move(out), testing::internal::GetCapturedStderr()};
}

TEST(CommandLine, RefusesWhatItDoesNotKnow) {
    // Each would end with another status if it got as far as connecting: nothing listens there.
    const struct {
        const char* why;
        std::vector<const char*> arguments;
        const char* says;
    } cases[] = {
        {"no command", {}, "не указана команда"},
        {"unknown option", {"watch", "--colour"}, "--colour"},
        {"not an address", {"watch", "--url", "http://localhost:4840"}, "opc.tcp://"},
        {"not a number", {"watch", "--seconds", "ten"}, "\"ten\""},
        {"no time at all", {"watch", "--seconds", "0"}, "\"0\""},
        {"interval that would load the server", {"watch", "--interval", "1"}, "50..3600000"},
        {"not a node id", {"watch", "--node", "Operative"}, "\"Operative\""},
        {"two ways to choose", {"watch", "--node", "ns=1;i=1", "--filter", "VA"}, "--node"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        const Answer answer = run(c.arguments);
        EXPECT_EQ(answer.status, kBadUsage);
        EXPECT_THAT(answer.err, HasSubstr(c.says));
        EXPECT_EQ(answer.out, "");
    }
}

TEST(CommandLine, HelpIsNoError) {
    const Answer general = run({"--help"});
    EXPECT_EQ(general.status, kDone);
    EXPECT_THAT(general.out, HasSubstr("watch"));
    const Answer watch = run({"watch", "--help"});
    EXPECT_EQ(watch.status, kDone);
    EXPECT_THAT(watch.out, HasSubstr("--seconds"));
    EXPECT_THAT(watch.out, HasSubstr("Код завершения"));
}

TEST(CommandLine, TellsAServerThatIsNotThere) {
    const Answer answer = run({"watch", "--url", "opc.tcp://127.0.0.1:1", "--wait", "0"});
    EXPECT_EQ(answer.status, kCannotConnect);
    EXPECT_THAT(answer.err, HasSubstr("opc.tcp://127.0.0.1:1"));
    EXPECT_EQ(answer.out, "");
}

}  // namespace opcuaview
