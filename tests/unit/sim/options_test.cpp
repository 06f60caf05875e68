#include "sim/options.h"

#include "tests/support/capture.h"

static std::optional<sim::Options> parse(std::initializer_list<const char*> arguments,
                                         int& status) {
    std::vector<const char*> argv{"zrtsim"};
    argv.insert(argv.end(), arguments);
    return sim::parseOptions(static_cast<int>(argv.size()), argv.data(), status);
}

TEST(Options, TakeWhatIsInRange) {
    int status = -1;
    const auto options = parse({"--va", "65535", "--rv", "0", "--lv", "7", "--port", "4849",
                                "--history", "36h", "--keep", "3660d"},
                               status);
    ASSERT_TRUE(options);
    EXPECT_EQ(options->counts, (sim::Counts{65535, 12, 0, 60, 24, 10, 10, 10, 20, 20, 7}));
    EXPECT_EQ(options->port, 4849);
    EXPECT_EQ(options->history, std::chrono::hours(36));
    EXPECT_EQ(options->keep, std::chrono::hours(24 * 3660));
}

TEST(Options, RefuseTheRestWithAMessageAndStatus2) {
    const std::initializer_list<const char*> cases[] = {
        {"--va", "3x"},          {"--va", ""},
        {"--port", "4839"},      {"--cycle", "9"},
        {"--cycle", "1e9"},      {"--seed", "x"},
        {"--generation", "256"}, {"--frozen=3x"},
        {"--controller", "-1"},  {"--history", "30"},
        {"--history", "0d"},     {"--history", "-1d"},
        {"--history", "1dd"},    {"--history", "9999999999999999999d"},
        {"--keep", "3661d"},     {"--history", "2d", "--keep", "1d"}};
    for (const auto& arguments : cases) {
        int status = -1;
        Capture errors(STDERR_FILENO);
        EXPECT_FALSE(parse(arguments, status)) << *arguments.begin();
        EXPECT_EQ(status, 2);
        EXPECT_NE(errors.text().find("zrtsim"), std::string::npos);
    }
}
