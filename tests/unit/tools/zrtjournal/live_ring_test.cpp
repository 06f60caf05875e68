// Reading the ring while others post, and reading memory that must not be written.
#include "tools/zrtjournal/live_ring.h"

#include "tests/unit/lib/rolling2/journal.h"

class LiveRing : public JournalTest {
  protected:
    static std::vector<unsigned> copied() {
        std::vector<unsigned> all;
        for (const SRolMessage& message : tools::zrtjournal::copyRing().messages)
            all.push_back(message.MessageCode + 0U);  // a copy: it is packed
        return all;
    }
};

TEST_F(LiveRing, IsCopiedInOrderAndNotTrusted) {
    EXPECT_EQ(tools::zrtjournal::copyRing().error, ENOENT);
    CRolManager journal;
    join(journal);
    EXPECT_EQ(copied(), upTo(1, 0)) << "empty";
    for (unsigned posted = 1; posted <= 33; ++posted) {
        post(journal, posted, posted);
        EXPECT_EQ(copied(), upTo(posted > 20 ? posted - 19 : 1, posted));
    }
    for (const int index : {52, 53, 50}) {
        RawSegment(index).put<std::uint16_t>(0, index == 50 ? 0 : 65535);
        EXPECT_LE(copied().size(), 20U);
    }
}

/// Posters number their messages, and the text repeats the number.
TEST_F(LiveRing, LosesAndTearsNothingWhoeverComesFirstAndReadsMeanwhile) {
    constexpr unsigned kEach = 50'003;
    const auto textOf = [](unsigned number) {
        return std::string(1 + number % 200, static_cast<char>('a' + number % 26));
    };
    const auto postAll = [&](CRolManager& journal) {
        for (unsigned number = 0; number < kEach; ++number)
            EXPECT_EQ(journal.Message(number, new CRolArg(number),
                                      new CRolArg(textOf(number).c_str()), new CRolArg(RT_END)),
                      0);
    };
    const auto joinAndPost = [&] {
        CRolManager journal;
        EXPECT_EQ(journal.Init(), 0);
        std::thread other(postAll, std::ref(journal));
        postAll(journal);
        other.join();
        return 0;
    };
    ChildProcess posters[] = {ChildProcess(joinAndPost), ChildProcess(joinAndPost)};
    const auto posting = [&] { return static_cast<int>(posters[0].alive()) + posters[1].alive(); };
    std::size_t most = 0;
    for (bool isLast = false; !isLast;) {
        isLast = posting() == 0;
        const auto messages = tools::zrtjournal::copyRing().messages;
        most = std::max(most, messages.size());
        std::pair<int, int> last{0, -1};
        for (const SRolMessage& message : messages) {
            const timeval_32 stamp = message.PseudoTimeStamp;
            const std::pair<int, int> now{stamp.tv_sec, stamp.tv_usec};
            ASSERT_GT(now, last);
            last = now;
            const unsigned number = message.MessageCode;
            const auto values = RolArguments(message);
            ASSERT_EQ(values.size(), 2U);
            ASSERT_EQ(std::get<std::uint64_t>(values[0].value), number);
            ASSERT_EQ(std::get<std::string>(values[1].value), textOf(number));
        }
    }
    EXPECT_EQ(most, 20U);
    for (ChildProcess& poster : posters)
        EXPECT_EQ(poster.wait(), 0);
    EXPECT_EQ(RawSegment(53).get<std::uint16_t>(0), 4 * kEach % 20) << "each took a slot";
}

TEST_F(LiveRing, IsAttachedForReadingOnly) {
    CRolManager journal;
    join(journal);
    ChildProcess writer([] {
        const ShmView view = ShmOpenReadOnly(51);
        EXPECT_EQ(view.size, 20 * 281U);
        *const_cast<char*>(static_cast<const char*>(view.address.get())) = 1;
        return 0;
    });
    EXPECT_NE(writer.wait(), 0);
    for (const auto& [index, error] : {std::pair(71, ENOENT), {128, EINVAL}, {-1, EINVAL}})
        EXPECT_EQ(ShmOpenReadOnly(index).error, error);
}
