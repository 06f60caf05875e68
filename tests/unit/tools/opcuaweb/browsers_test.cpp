#include "tools/opcuaweb/streams/browsers.h"

#include "tests/support/basics.h"
#include "tools/opcuaweb/basics/limits.h"

namespace tools::opcuaweb {

constexpr std::chrono::milliseconds kNoTime{0};
constexpr const char* kNothing = ": \n\n";

TEST(Browsers, ABrowserThatDoesNotReadKeepsTheNewestOnly) {
    Browsers browsers;
    const auto browser = browsers.add();
    browsers.watch(*browser, {"i=1"});
    for (const int number : {1, 2, 3}) {
        browsers.publish("overview", number);
        browsers.publishValue("i=1", number);
        browsers.publishValue("i=2", number);  // nobody watches it
    }
    browsers.publishMessages({"old"});
    browsers.publishMessages({"new"});
    EXPECT_EQ(browser->take(kNoTime),
              "event: overview\ndata: 3\n\nevent: journal\ndata: [\"old\",\"new\"]\n\n");
    EXPECT_EQ(browser->take(kNoTime), kNothing) << "the lot may not be complete";
    EXPECT_EQ(browser->take(kPingEvery), "event: values\ndata: [3]\n\n");
    browsers.publishValue("i=1", 4);
    EXPECT_EQ(browser->take(2 * kLotComplete), kNothing) << "the next lot is not due";
    EXPECT_EQ(browser->take(kPingEvery), "event: values\ndata: [4]\n\n");
    browsers.publishMessages(std::vector<Json>(kMostWaitingMessages + 5, "x"));
    EXPECT_EQ(browser->take(kNoTime).size(),
              std::string("event: journal\ndata: []\n\n").size() + kMostWaitingMessages * 4 - 1);
    browsers.close();
    EXPECT_EQ(browser->take(kPingEvery), "");
}

TEST(Browsers, WatchTheUnionOfWhatIsOnTheirScreens) {
    using Nodes = std::unordered_set<std::string>;
    Browsers browsers;
    std::vector<std::shared_ptr<Browser>> open;
    while (auto browser = browsers.add())
        open.push_back(browser);
    EXPECT_EQ(open.size(), kMostBrowsers);
    browsers.watch(*open[0], {"a", "b", "b"});
    browsers.publishValue("b", 7);
    browsers.watch(*open[1], {"b", "c"});
    EXPECT_EQ(open[1]->take(kPingEvery), "event: values\ndata: [7]\n\n")
        << "what is known is sent without a new value";
    EXPECT_EQ(browsers.wanted(), (Nodes{"a", "b", "c"}));
    const std::size_t version = browsers.wantedVersion();
    browsers.watch(*open[0], {"a"});
    EXPECT_EQ(browsers.wantedVersion(), version) << "another one still watches b";
    browsers.remove(*open[1]);
    EXPECT_EQ(browsers.wanted(), Nodes{"a"});
    browsers.watch(*open[1], {"d"});  // its stream has ended
    EXPECT_EQ(browsers.wanted(), Nodes{"a"});
    EXPECT_NE(browsers.add(), nullptr) << "there is room again";
}

}  // namespace tools::opcuaweb
