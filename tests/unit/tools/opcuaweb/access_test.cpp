#include "tests/support/capture.h"
#include "tests/support/files.h"
#include "tools/opcuaweb/http/addresses.h"
#include "tools/opcuaweb/http/passwords.h"
#include "tools/opcuaweb/options/options.h"

namespace tools::opcuaweb {

TEST(SameOrigin, OnlyThePageItselfAndThisMachine) {
    const struct {
        const char* origin;
        const char* host;
        bool same;
        bool local;
    } cases[] = {
        {"http://localhost:8080", "localhost:8080", true, true},
        {"https://panel.example", "panel.example", true, false},  // a proxy's
        {"http://[::1]:80", "[::1]:80", true, true},
        {"http://127.0.0.1:8080", "127.0.0.1:8081", false, true},
        {"null", "127.0.0.1", false, true},
        {"", "", false, false},
        {"http://evil.example", "LOCALHOST", false, true},
        {"http://localhost.evil.example", "localhost.evil.example", true, false},
        {"ftp://127.1.2.3", "127.1.2.3", false, true},
        {"http://::1", "::1", true, false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(isSameOrigin(c.origin, c.host), c.same) << c.origin;
        EXPECT_EQ(isLoopbackHost(c.host), c.local) << c.host;
    }
}

TEST(Options, RefuseWhatWouldNotBeSafeOrIsUnknown) {
    const struct {
        std::vector<const char*> arguments;
        int status;  // -1: accepted
        const char* says;
    } cases[] = {
        {{}, -1, ""},
        {{"--listen", "[::1]:80"}, -1, ""},
        {{"--listen", "0.0.0.0:80", "--password-file", "x"}, -1, ""},
        {{"--help"}, 0, "--allow-writes"},
        {{"--listen", "0.0.0.0:80"}, kBadUsage, "--password-file"},
        {{"--listen", "[::]:80"}, kBadUsage, "--password-file"},
        {{"--listen", "::1:80"}, kBadUsage, "::1:80"},
        {{"--listen", "localhost:80"}, kBadUsage, "localhost:80"},
        {{"--listen", "127.0.0.1:0"}, kBadUsage, "127.0.0.1:0"},
        {{"--listen", "127.0.0.1:65536"}, kBadUsage, "65536"},
        {{"--url", "http://x"}, kBadUsage, "opc.tcp://"},
        {{"--counts", "va=1"}, kBadUsage, "--config"},
        {{"--config", "x", "--counts", "va"}, kBadUsage, "\"va\""},
        {{"--config", "x", "--system", "/none"}, kBadUsage, "/none/offatrs.dat"},
        {{"--verbose"}, kBadUsage, "--verbose"},
    };
    for (auto c : cases) {
        c.arguments.insert(c.arguments.begin(), "opcuaweb");
        SCOPED_TRACE(c.arguments.back());
        Capture output(STDOUT_FILENO);
        Capture errors(STDERR_FILENO);
        Options options;
        const auto status =
            readOptions(static_cast<int>(c.arguments.size()), c.arguments.data(), options);
        EXPECT_EQ(status.value_or(-1), c.status);
        EXPECT_NE((output.text() + errors.text()).find(c.says), std::string::npos);
    }
}

/// "secret" by `openssl passwd -6 -salt abcdefgh`.
constexpr const char* kSecret =
    "$6$abcdefgh$ltjgWl6579NluT/Vi1nwEvcil.G5Nbc4NiXZaNGStk8PSwGfQv72N2CKPPrVACtLtip/cZ/1GM/"
    "O6IND4WQhG.";

TEST(Passwords, AreReadAndVerified) {
    const struct {
        const char* file;
        const char* says;  // empty: accepted
    } files[] = {
        {"# panel\n\nann:%\r\nбоб:%\n", ""},
        {"", "passwords: "},
        {"ann\n", ":1: "},
        {"ann:secret\n", ":1: "},
        {"ann:%\nann:%\n", ":2: "},
        {":%\n", ":1: "},
        {"ann:abJnggxhB/yWI\n", ":1: "},    // of the old kind, DES
        {"ann:$6$abcdefgh$ltj\n", ":1: "},  // cut
    };
    const std::string path = "/tmp/opcuaweb/passwords";
    for (const auto& file : files) {
        std::string text = file.file;
        for (std::size_t place; (place = text.find('%')) != std::string::npos;)
            text.replace(place, 1, kSecret);
        writeFile(path, text);
        Passwords passwords;
        const std::string problem = passwords.read(path, Language::en);
        EXPECT_EQ(problem.empty(), *file.says == '\0') << problem;
        EXPECT_NE(problem.find(file.says), std::string::npos) << problem;
        if (!problem.empty()) continue;
        using Verdict = Passwords::Verdict;
        EXPECT_EQ(passwords.verify({"ann", "secret"}), Verdict::right);
        EXPECT_EQ(passwords.verify({"боб", "secret"}), Verdict::right);
        EXPECT_EQ(passwords.verify({"ann", "secret "}), Verdict::wrong);
        EXPECT_EQ(passwords.verify({"eve", "secret"}), Verdict::wrong);
        EXPECT_EQ(passwords.verify({"ann", "secret"}), Verdict::right) << "remembered";
    }
    const auto given = readCredentials("Basic YW5uOmE6Yg==");
    ASSERT_TRUE(given);
    EXPECT_EQ(given->name + " " + given->password, "ann a:b");
    for (const char* const bad :
         {"", "Basic", "Basic ", "Basic YW5u", "Basic ????", "Bearer YW5uOmE6Yg=="})
        EXPECT_FALSE(readCredentials(bad)) << bad;
}

}  // namespace tools::opcuaweb
