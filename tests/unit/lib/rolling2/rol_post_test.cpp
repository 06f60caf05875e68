// Posting: the ring, its stamps and counters, and processes that post together or are killed.
#include <set>
#include <thread>

#include "journal.h"

namespace {

class Posting : public JournalTest {
  protected:
    Posting() { join(journal); }

    /// The newest record as it lies in shared memory.
    static std::string newest(std::size_t offset, std::size_t length) {
        return RawSegment(51).text(RawSegment(53).get<std::uint16_t>(0) * 281U + offset, length);
    }

    CRolManager journal;
};

TEST_F(Posting, LaysTheRecordInTheNextSlot) {
    ASSERT_EQ(journal.Message(18094, new CRolArg(7), new CRolArg(4), new CRolArg("ab"),
                              new CRolArg(RT_END)),
              0);
    EXPECT_EQ(RawSegment(53).get<std::uint16_t>(0), 1) << "slot 0 is the one before the first";
    EXPECT_EQ(RawSegment(52).get<std::uint16_t>(0), 1);
    EXPECT_EQ(RawSegment(56).get<std::uint32_t>(0), 1U);
    EXPECT_EQ(newest(14, 12), little(301, 4) + little(18094, 4) + "\xFF\xFF\xFF\x03");
    EXPECT_EQ(newest(26, 17),
              "\x0B\x04" + little(7, 4) + "\x0B\x04" + little(4, 4) + "\x09\x03" + "ab" + '\0');
    EXPECT_EQ(newest(43, 238), std::string(238, '\0')) << "nothing of an older message is left";
}

TEST_F(Posting, EveryOperationFillsItsFields) {
    const timeval time{1'000'000'000, 123'999};
    const CRolArg array[] = {CRolArg(5), CRolArg(RT_END)};
    const std::string one = "\x0B\x04" + little(5, 4);
    const struct {
        const char* why;
        std::function<int()> post;
        unsigned dictionary, code;
        int type, number;
        bool isTimed;
    } cases[] = {
        {"Message", [&] { return journal.Message(1, new CRolArg(5), new CRolArg(RT_END)); }, 301, 1,
         -1, -1, false},
        {"MessageD", [&] { return journal.MessageD(9, 2, new CRolArg(5), new CRolArg(RT_END)); }, 9,
         2, -1, -1, false},
        {"MessageWithVar",
         [&] { return journal.MessageWithVar(3, 2, 300, new CRolArg(5), new CRolArg(RT_END)); },
         301, 3, 2, 300, false},
        {"MessageWithVarD",
         [&] { return journal.MessageWithVarD(9, 4, 1, -5, new CRolArg(5), new CRolArg(RT_END)); },
         9, 4, 1, -5, false},
        {"MessageWithVarAndTime",
         [&] {
             return journal.MessageWithVarAndTime(&time, 5, 3, 1, new CRolArg(5),
                                                  new CRolArg(RT_END));
         },
         301, 5, 3, 1, true},
        {"VeskolMessage", [&] { return journal.VeskolMessage(9, 6, 6, 2, array); }, 9, 6, 6, 2,
         false},
        {"VeskolMessageWithTime",
         [&] { return journal.VeskolMessageWithTime(&time, 9, 7, 8, 3, array); }, 9, 7, 8, 3, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        ASSERT_EQ(c.post(), 0);
        EXPECT_EQ(newest(14, 8), little(c.dictionary, 4) + little(c.code, 4));
        EXPECT_EQ(newest(22, 3), little(static_cast<unsigned>(c.type), 1) +
                                     little(static_cast<unsigned>(c.number), 2));
        EXPECT_EQ(newest(25, 7), "\x01" + one);
        EXPECT_EQ(newest(8, 6) == little(1'000'000'000, 4) + little(123, 2), c.isTimed);
    }
}

TEST_F(Posting, OverwritesTheOldest) {
    for (unsigned posted = 1; posted <= 45; ++posted) {
        post(journal, posted, posted);
        EXPECT_EQ(RawSegment(53).get<std::uint16_t>(0), posted % 20);
        EXPECT_EQ(RawSegment(52).get<std::uint16_t>(0), std::min(posted, 20U));
        EXPECT_EQ(codes(journal), upTo(posted > 20 ? posted - 19 : 1, posted));
    }
    for (int reader = 0; reader < 8; ++reader)
        EXPECT_EQ(journal.GetCounter(reader), 20U) << "as many as there are";
}

TEST_F(Posting, StampsEachMessageLaterThanTheOneBefore) {
    const auto stamp = [] {
        const RawSegment ring(51);
        const std::size_t at = RawSegment(53).get<std::uint16_t>(0) * 281U;
        return std::pair(ring.get<std::int32_t>(at), ring.get<std::int32_t>(at + 4));
    };
    const auto setStamp = [](std::int32_t sec, std::int32_t usec) {
        const RawSegment ring(51);
        const std::size_t at = RawSegment(53).get<std::uint16_t>(0) * 281U;
        ring.put(at, sec);
        ring.put(at + 4, usec);
    };
    const auto before = static_cast<std::int32_t>(time(nullptr));
    post(journal, 1, 1);
    EXPECT_GE(stamp().first, before);
    EXPECT_EQ(stamp().second, 0) << "a new second begins at 0";
    const std::int32_t ahead = before + 1000;  // the clock was set back since
    setStamp(ahead, 0);
    post(journal, 2, 2);
    EXPECT_EQ(stamp(), std::pair(ahead, 1));
    setStamp(ahead, 999'999);
    post(journal, 3, 3);
    EXPECT_EQ(stamp(), std::pair(ahead + 1, 0));
    setStamp(before - 1, 500);
    post(journal, 4, 4);
    EXPECT_GE(stamp().first, before);
    EXPECT_EQ(stamp().second, 0);
}

TEST_F(Posting, ReplacesWhatCannotBeBuilt) {
    const std::string tooLong(253, 'x');
    const struct {
        const char* why;
        std::function<int()> post;
    } cases[] = {
        {"a text too long",
         [&] { return journal.MessageD(9, 5, new CRolArg(tooLong.c_str()), new CRolArg(RT_END)); }},
        {"too much together",
         [&] {
             return journal.MessageD(9, 5, new CRolArg(tooLong.c_str() + 100),
                                     new CRolArg(tooLong.c_str() + 100), new CRolArg(1),
                                     new CRolArg(RT_END));
         }},
        {"a type that no record has",
         [&] { return journal.MessageD(9, 5, new CRolArg(RT_NOTYPE), new CRolArg(RT_END)); }},
        {"no argument",
         [&] { return journal.MessageD(9, 5, new CRolArg(1), static_cast<CRolArg*>(nullptr)); }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_EQ(c.post(), 0);
        EXPECT_EQ(newest(14, 12), little(301, 4) + little(1003, 4) + "\xFF\xFF\xFF\x03");
        EXPECT_EQ(newest(26, 17), "\x03\x02" + little(7, 2) + "\x06\x04" + little(9, 4) +
                                      "\x06\x04" + little(5, 4) + '\0');
    }
}

TEST_F(Posting, TellsWhatIsLostWithoutAJournal) {
    CRolManager closed;
    Capture out(STDOUT_FILENO);
    EXPECT_EQ(closed.MessageD(9, 5, new CRolArg("x"), new CRolArg(RT_END)), kRolNotOpen);
    EXPECT_EQ(out.text(),
              "Rolling LIB: Внутренняя ошибка 2 формирования сообщения (dic=9,num=5)\n"_cp866z);
    EXPECT_EQ(closed.GetCounter(0), 0U);
    closed.DecCounter(0, 1);
    closed.IncCounters(1);
    EXPECT_EQ(closed.Load(), kRolNotOpen);
    EXPECT_EQ(closed.ForceSave(), kRolNotOpen);
    EXPECT_EQ(closed.Save(), 0);
    EXPECT_EQ(closed.GetSaveRol(), 2);
}

TEST_F(Posting, CountsForEightReaders) {
    post(journal, 1, 5);
    const RawSegment counters(57);
    counters.put<std::uint32_t>(32, 40);  // behind them: another program's
    journal.DecCounter(2, 3);
    journal.DecCounter(3, 6);
    journal.DecCounter(4, 0);
    journal.DecCounter(4, -1);
    for (const int reader : {-1, 9})
        journal.DecCounter(reader, 1);
    EXPECT_EQ(counters.text(0, 32), little(5, 4) + little(5, 4) + little(2, 4) + little(0, 4) +
                                        little(5, 4) + little(5, 4) + little(5, 4) + little(5, 4));
    EXPECT_EQ(journal.GetCounter(2), 2U);
    EXPECT_EQ(journal.GetCounter(8), 40U);
    journal.DecCounter(8, 15);
    EXPECT_EQ(counters.get<std::uint32_t>(32), 25U);
    EXPECT_EQ(counters.get<std::uint32_t>(36), 0U);
    EXPECT_EQ(journal.GetCounter(9), 0U);
    EXPECT_EQ(journal.GetCounter(-1), 0U);
    journal.IncCounters(4);
    EXPECT_EQ(journal.GetCounter(2), 6U);
    journal.IncCounters(1'000'000);
    EXPECT_EQ(journal.GetCounter(2), 20U);
    EXPECT_EQ(counters.get<std::uint32_t>(32), 25U) << "not one of the eight";
}

TEST_F(Posting, GoesRoundTheRing) {
    EXPECT_EQ(CRolManager::CycPlus(7, 5, 10), 2U);
    EXPECT_EQ(CRolManager::CycPlus(0, 10, 10), 0U);
    EXPECT_EQ(CRolManager::CycMinus(7, 5, 10), 2U);
    EXPECT_EQ(CRolManager::CycMinus(2, 5, 10), 7U);
    EXPECT_EQ(CRolManager::CycMinus(5, 5, 10), 0U);
    EXPECT_EQ(CRolManager::CycMinus(2, 25, 10), 7U);
}

TEST_F(Posting, StaysWithinTheRingWhateverOthersWrote) {
    post(journal, 1, 5);
    RawSegment(53).put<std::uint16_t>(0, 60000);
    RawSegment(52).put<std::uint16_t>(0, 60000);
    RawSegment(50).put<std::uint16_t>(0, 60000);
    post(journal, 6, 6);
    EXPECT_LT(RawSegment(53).get<std::uint16_t>(0), 20);
    EXPECT_EQ(codes(journal).size(), 20U);
    RawSegment(50).put<std::uint16_t>(0, 0);
    post(journal, 7, 7);
    EXPECT_EQ(codes(journal).back(), 7U);
}

// ---- Together ----------------------------------------------------------------------------------

/// Messages of several processes: the code is the poster's, the text repeats number and poster.
class Together : public JournalTest {
  protected:
    static constexpr unsigned kProcesses = 4;

    Together() { settings("[ROLLING]\nMaxNumMessageMemory = 60000\n"); }

    static int postNumbered(CRolManager& journal, unsigned poster, unsigned number) {
        const std::string text(1 + number % 200, static_cast<char>('a' + poster));
        return journal.Message(poster, new CRolArg(number), new CRolArg(text.c_str()),
                               new CRolArg(number), new CRolArg(RT_END));
    }

    /// Goes through the ring as it lies in shared memory: stamps rise, and each message is whole.
    /// @return messages by poster
    static std::vector<unsigned> checkRing() {
        const RawSegment ring(51);
        const unsigned held = RawSegment(52).get<std::uint16_t>(0);
        const unsigned newest = RawSegment(53).get<std::uint16_t>(0);
        const auto slots = static_cast<unsigned>(ring.size() / 281);
        std::vector<unsigned> counts(kProcesses, 0);
        std::pair<std::int32_t, std::int32_t> last{0, -1};
        for (unsigned age = held; age-- > 0;) {
            const std::size_t at = ((newest + slots - age) % slots) * 281U;
            const std::pair stamp(ring.get<std::int32_t>(at), ring.get<std::int32_t>(at + 4));
            EXPECT_GT(stamp, last);
            last = stamp;
            const auto poster = ring.get<std::uint32_t>(at + 18);
            const auto number = ring.get<std::uint32_t>(at + 28);
            if (poster >= kProcesses) return ADD_FAILURE() << "poster " << poster, counts;
            ++counts[poster];
            const std::string text(1 + number % 200, static_cast<char>('a' + poster));
            EXPECT_EQ(ring.text(at + 25, 1) + ring.text(at + 32, text.size() + 9),
                      "\x03\x09" + little(text.size() + 1, 1) + text + '\0' + "\x0C\x04" +
                          little(number, 4));
        }
        return counts;
    }
};

TEST_F(Together, NoStampRepeatsAndNoMessageIsTorn) {
    constexpr unsigned kEach = 5000;
    std::vector<std::unique_ptr<ChildProcess>> posters;
    posters.reserve(kProcesses);
    for (unsigned poster = 0; poster < kProcesses; ++poster) {
        posters.push_back(std::make_unique<ChildProcess>([poster] {
            CRolManager journal;
            EXPECT_EQ(journal.Init(), 0);
            for (unsigned number = 0; number < kEach; ++number)
                EXPECT_EQ(postNumbered(journal, poster, number), 0);
            return 0;
        }));
    }
    for (auto& poster : posters)
        EXPECT_EQ(poster->wait(std::chrono::milliseconds(120000)), 0);
    EXPECT_EQ(checkRing(), std::vector<unsigned>(kProcesses, kEach));
    EXPECT_EQ(RawSegment(57).get<std::uint32_t>(28), kProcesses * kEach);
}

TEST_F(Together, ThreadsOfAProcessPostTooWhileItSaves) {
    CRolManager journal;
    join(journal);
    journal.SetSaveRol(1);
    std::vector<std::thread> posters;
    for (unsigned poster = 0; poster < kProcesses; ++poster) {
        posters.emplace_back([&journal, poster] {
            for (unsigned number = 0; number < 500; ++number)
                EXPECT_EQ(postNumbered(journal, poster, number), 0);
        });
    }
    for (int save = 0; save < 20; ++save)
        EXPECT_EQ(save % 4 == 0 ? journal.ForceSave() : journal.Save(), 0);
    for (auto& poster : posters)
        poster.join();
    EXPECT_EQ(checkRing(), std::vector<unsigned>(kProcesses, 500));
}

TEST_F(Together, KilledPostersLeaveAWholeRing) {
    settings("[ROLLING]\nMaxNumMessageMemory = 50\n");
    CRolManager journal;
    join(journal);
    for (int round = 0; round < 60; ++round) {
        std::vector<std::unique_ptr<ChildProcess>> posters;
        posters.reserve(kProcesses);
        for (unsigned poster = 0; poster < kProcesses; ++poster) {
            posters.push_back(std::make_unique<ChildProcess>([poster, &journal] {
                for (unsigned number = 0;; ++number)
                    static_cast<void>(postNumbered(journal, poster, number));
                return 0;
            }));
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(3 + round % 5));
        posters.clear();  // SIGKILL, wherever they are
        ASSERT_EQ(postNumbered(journal, 0, 1), 0) << "the lock is free";
        checkRing();
        if (HasFailure()) FAIL() << "round " << round;
    }
    EXPECT_EQ(RawSegment(52).get<std::uint16_t>(0), 50);
}

}  // namespace
