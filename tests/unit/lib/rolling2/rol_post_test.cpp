// Posting: the ring, its stamps and counters, and processes that post together.
#include <sys/sem.h>

#include <iterator>
#include <thread>

#include "journal.h"

namespace {

class Posting : public JoinedJournal {
  protected:
    /// The newest record as it lies in shared memory.
    static std::string newest(std::size_t offset, std::size_t length) {
        return RawSegment(51).text(RawSegment(53).get<std::uint16_t>(0) * 281U + offset, length);
    }
};

TEST_F(Posting, EveryOperationLaysItsRecord) {
    const timeval time{1'000'000'000, 123'999};
    const CRolArg array[] = {CRolArg(5), CRolArg(RT_END)};
    const auto five = [] { return new CRolArg(5); };
    const auto end = [] { return new CRolArg(RT_END); };
    post(journal, 1, 20);  // records of a former round are overwritten whole
    const struct {
        const char* why;
        std::function<int()> post;
        unsigned dictionary, code;
        int type, number;
        bool isTimed = false;
    } cases[] = {
        {"Message", [&] { return journal.Message(1, five(), end()); }, 301, 1, -1, -1},
        {"MessageD", [&] { return journal.MessageD(9, 2, five(), end()); }, 9, 2, -1, -1},
        {"MessageWithVar", [&] { return journal.MessageWithVar(3, 2, 300, five(), end()); }, 301, 3,
         2, 300},
        {"MessageWithVarD", [&] { return journal.MessageWithVarD(9, 4, 1, -5, five(), end()); }, 9,
         4, 1, -5},
        {"MessageWithVarAndTime",
         [&] { return journal.MessageWithVarAndTime(&time, 5, 3, 1, five(), end()); }, 301, 5, 3, 1,
         true},
        {"VeskolMessage", [&] { return journal.VeskolMessage(9, 6, 6, 2, array); }, 9, 6, 6, 2},
        {"VeskolMessageWithTime",
         [&] { return journal.VeskolMessageWithTime(&time, 9, 7, 8, 3, array); }, 9, 7, 8, 3, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        ASSERT_EQ(c.post(), 0);
        EXPECT_EQ(newest(14, 267), little(c.dictionary, 4) + little(c.code, 4) +
                                       little(static_cast<unsigned>(c.type), 1) +
                                       little(static_cast<unsigned>(c.number), 2) + "\x01\x0B\x04" +
                                       little(5, 4) + std::string(249, '\0'));
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
    const auto now = static_cast<std::int32_t>(time(nullptr));
    const struct {
        const char* why;
        std::int32_t sec, usec;  // of the newest
        std::int32_t nextSec, nextUsec;
    } cases[] = {
        {"a new second begins at 0", now - 1, 500, now, 0},
        {"the clock was set back since", now + 1000, 0, now + 1000, 1},
        {"the microseconds are used up", now + 1000, 999'999, now + 1001, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        const RawSegment ring(51);
        const std::size_t newestAt = RawSegment(53).get<std::uint16_t>(0) * 281U;
        ring.put(newestAt, c.sec);
        ring.put(newestAt + 4, c.usec);
        post(journal, 1, 1);
        const auto sec = ring.get<std::int32_t>(newestAt + 281);
        EXPECT_GE(sec, c.nextSec);
        EXPECT_LE(sec, c.nextSec + 60) << "on a slow machine";
        EXPECT_EQ(ring.get<std::int32_t>(newestAt + 281 + 4), c.nextUsec);
    }
}

TEST_F(Posting, ReplacesWhatCannotBeBuilt) {
    const std::string tooLong(253, 'x');
    const struct {
        const char* why;
        std::function<int()> post;
    } cases[] = {
        {"a text too long, whatever follows",
         [&] {
             return journal.MessageD(9, 5, new CRolArg(tooLong.c_str()), new CRolArg(1),
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
    const auto told = [this] {
        std::vector<unsigned> all;
        for (const int reader : {-1, 2, 8, 9})
            all.push_back(journal.GetCounter(reader));
        return all;
    };
    EXPECT_EQ(told(), (std::vector<unsigned>{0, 2, 40, 0}));
    journal.DecCounter(8, 15);
    journal.IncCounters(4);
    EXPECT_EQ(told(), (std::vector<unsigned>{0, 6, 25, 0})) << "the ninth is not one of the eight";
    journal.IncCounters(1'000'000);
    EXPECT_EQ(told(), (std::vector<unsigned>{0, 20, 25, 0}));
    EXPECT_EQ(counters.get<std::uint32_t>(36), 0U);
}

TEST_F(Posting, GoesRoundTheRing) {
    EXPECT_EQ(CRolManager::CycPlus(7, 5, 10), 2U);
    EXPECT_EQ(CRolManager::CycPlus(0, 10, 10), 0U);
    EXPECT_EQ(CRolManager::CycMinus(7, 5, 10), 2U);
    EXPECT_EQ(CRolManager::CycMinus(2, 5, 10), 7U);
    EXPECT_EQ(CRolManager::CycMinus(5, 5, 10), 0U);
    EXPECT_EQ(CRolManager::CycMinus(2, 25, 10), 7U);
    EXPECT_EQ(CRolManager::CycMinus(25, 2, 10), 3U);
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

TEST_F(Posting, EveryOperationWaitsForTheLock) {
    journal.SetSaveRol(1);
    post(journal, 1, 5);
    char raw[100];
    const std::function<void()> operations[] = {
        [&] { journal.Message(6, new CRolArg(RT_END)); },
        [&] { journal.IncCounters(1); },
        [&] { journal.DecCounter(0, 1); },
        [&] { journal.GetRawData(raw, 5, sizeof(raw)); },
        [&] { journal.GoFirstMes(); },
        [&] { journal.GoMes(5); },
        [&] { journal.GetNextMes(); },
        [&] { journal.GetPrevMes(); },
        [&] { journal.SetSaveRol(1); },
        [&] { journal.Save(); },
        [&] { journal.ForceSave(); },
        [&] { journal.SaveMainRolling(); },
        [&] { journal.SaveRezRolling(); },
        [&] { journal.Load(); },
        [&] { journal.LoadMainRolling(); },
        [&] { journal.LoadRezRolling(); },
        [&] { CRolManager().Init(); },
    };
    journal.Rol2Sem->sem_lock();
    std::vector<std::unique_ptr<ChildProcess>> waiting;
    for (const auto& operation : operations)
        waiting.push_back(std::make_unique<ChildProcess>([&] { return operation(), 0; }));
    const auto count = [this] { return semctl(journal.Rol2Sem->id_sem, 0, GETNCNT); };
    EXPECT_TRUE(waitUntil([&] { return count() == std::ssize(waiting); })) << count();
    journal.Rol2Sem->sem_unlock();
    for (auto& operation : waiting)
        EXPECT_EQ(operation->wait(), 0);
}

// ---- Together ----------------------------------------------------------------------------------

/// Messages of several posters: the code is the poster's, the text repeats number and poster.
class Together : public JournalTest {
  protected:
    static constexpr unsigned kPosters = 4;
    static constexpr unsigned kEach = 500;

    static std::string textOf(unsigned poster, unsigned number) {
        return std::string(1 + number % 200, static_cast<char>('a' + poster));
    }
    static void postNumbered(CRolManager& journal, unsigned poster) {
        for (unsigned number = 0; number < kEach; ++number) {
            const std::string text = textOf(poster, number);
            EXPECT_EQ(journal.Message(poster, new CRolArg(number), new CRolArg(text.c_str()),
                                      new CRolArg(number), new CRolArg(RT_END)),
                      0);
        }
    }

    /// Goes through the ring as it lies in shared memory: stamps rise, and each message is whole.
    static void expectAllOf(unsigned posters) {
        const RawSegment ring(51);
        ASSERT_EQ(RawSegment(52).get<std::uint16_t>(0), posters * kEach);
        std::vector<unsigned> counts(posters, 0);
        std::pair<std::int32_t, std::int32_t> last{0, -1};
        for (std::size_t at = 281; at <= posters * kEach * 281U; at += 281) {
            const std::pair stamp(ring.get<std::int32_t>(at), ring.get<std::int32_t>(at + 4));
            ASSERT_GT(stamp, last);
            last = stamp;
            const auto poster = ring.get<std::uint32_t>(at + 18);
            const auto number = ring.get<std::uint32_t>(at + 28);
            ASSERT_LT(poster, posters);
            ++counts[poster];
            const std::string text = textOf(poster, number);
            EXPECT_EQ(ring.text(at + 25, 1) + ring.text(at + 32, text.size() + 9),
                      "\x03\x09" + little(text.size() + 1, 1) + text + '\0' + "\x0C\x04" +
                          little(number, 4));
        }
        EXPECT_EQ(counts, std::vector<unsigned>(posters, kEach));
    }
};

TEST_F(Together, NothingIsLostOrTornWhoeverComesFirst) {
    settings("[ROLLING]\nMaxNumMessageMemory = 60000\n");
    for (int round = 0; round < 10; ++round) {
        removeShared();
        std::vector<std::unique_ptr<ChildProcess>> processes;
        processes.reserve(kPosters);
        for (unsigned poster = 0; poster < kPosters; poster += 2) {
            processes.push_back(std::make_unique<ChildProcess>([poster] {
                CRolManager journal;
                EXPECT_EQ(journal.Init(), 0);
                journal.SetSaveRol(1);
                std::thread other([&] { postNumbered(journal, poster + 1); });
                postNumbered(journal, poster);
                EXPECT_EQ(journal.Save(), 0);
                other.join();
                return journal.ForceSave();
            }));
        }
        for (auto& process : processes)
            EXPECT_EQ(process->wait(std::chrono::milliseconds(120000)), 0);
        expectAllOf(kPosters);
        CRolManager later;
        join(later);
        later.EraseRollingFiles();
    }
}

}  // namespace
