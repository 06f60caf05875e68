// Posting: the ring, its stamps and counters, and the lock.

#include "tests/unit/lib/rolling2/journal.h"

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
    // clang-format off
    const struct {
        std::function<int()> post;
        unsigned dictionary, code;
        int type, number;
        bool isTimed = false;
    } cases[] = {
        {[&] { return journal.Message(1, five(), end()); },                               301, 1, -1, -1},
        {[&] { return journal.MessageD(9, 2, five(), end()); },                             9, 2, -1, -1},
        {[&] { return journal.MessageWithVar(3, 2, 300, five(), end()); },                301, 3, 2, 300},
        {[&] { return journal.MessageWithVarD(9, 4, 1, -5, five(), end()); },               9, 4, 1, -5},
        {[&] { return journal.MessageWithVarAndTime(&time, 5, 3, 1, five(), end()); },    301, 5, 3, 1, true},
        {[&] { return journal.VeskolMessage(9, 6, 6, 2, array); },                          9, 6, 6, 2},
        {[&] { return journal.VeskolMessageWithTime(&time, 9, 7, 8, 3, array); },           9, 7, 8, 3, true},
    };
    // clang-format on
    for (const auto& c : cases) {
        SCOPED_TRACE(c.code);
        ASSERT_EQ(c.post(), 0);
        EXPECT_EQ(newest(14, 267), little(c.dictionary, 4) + little(c.code, 4) +
                                       little(static_cast<unsigned>(c.type), 1) +
                                       little(static_cast<unsigned>(c.number), 2) + "\x01\x0B\x04" +
                                       little(5, 4) + std::string(249, '\0'));
        EXPECT_EQ(newest(8, 6) == little(1'000'000'000, 4) + little(123, 2), c.isTimed);
    }
}

TEST_F(Posting, StampsEachMessageLaterThanTheOneBefore) {
    const auto now = static_cast<std::int32_t>(time(nullptr));
    const struct {
        const char* why;
        std::int32_t sec, usec, nextSec, nextUsec;  // of the newest and the one behind it
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
        EXPECT_LE(static_cast<unsigned>(sec - c.nextSec), 60U) << "on a slow machine";
        EXPECT_EQ(ring.get<std::int32_t>(newestAt + 281 + 4), c.nextUsec);
    }
}

TEST_F(Posting, ReplacesWhatCannotBeBuilt) {
    const std::string tooLong(253, 'x');
    // clang-format off
    const struct {
        const char* why;
        std::function<int()> post;
    } cases[] = {
        {"a text too long, whatever follows", [&] { return journal.MessageD(9, 5, new CRolArg(tooLong.c_str()), new CRolArg(1), new CRolArg(RT_END)); }},
        {"a type that no record has",         [&] { return journal.MessageD(9, 5, new CRolArg(RT_NOTYPE), new CRolArg(RT_END)); }},
        {"no argument",                       [&] { return journal.MessageD(9, 5, new CRolArg(1), static_cast<CRolArg*>(nullptr)); }},
    };
    // clang-format on
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_EQ(c.post(), 0);
        EXPECT_EQ(newest(14, 12), little(301, 4) + little(1003, 4) + "\xFF\xFF\xFF\x03");
        EXPECT_EQ(newest(26, 17), "\x03\x02" + little(7, 2) + "\x06\x04" + little(9, 4) +
                                      "\x06\x04" + little(5, 4) + '\0');
    }
}

TEST_F(Posting, WithoutAJournalNothingIsPostedOrChanged) {
    CRolManager closed;
    Capture out(STDOUT_FILENO);
    EXPECT_EQ(closed.MessageD(9, 5, new CRolArg("x"), new CRolArg(RT_END)), kRolNotOpen);
    EXPECT_EQ(out.text(),
              "Rolling LIB: Внутренняя ошибка 2 формирования сообщения (dic=9,num=5)\n"_cp866z);
    EXPECT_EQ(closed.GetCounter(0), 0U);
    EXPECT_TRUE(closed.Load() == kRolNotOpen && closed.ForceSave() == kRolNotOpen);
    EXPECT_EQ(closed.Save(), 0);
    EXPECT_EQ(closed.GetSaveRol(), 2);
}

TEST_F(Posting, CountsForEightReaders) {
    post(journal, 1, 5);
    const RawSegment counters(57);
    counters.put<std::uint32_t>(32, 40);  // behind them: another program's
    const auto expectCounters = [&](const std::vector<unsigned>& want) {  // of readers 0 to 9
        std::vector<unsigned> got(10);
        for (int reader = 0; reader < 10; ++reader)
            got[static_cast<std::size_t>(reader)] = journal.GetCounter(reader);
        EXPECT_EQ(got, want);
    };
    for (const auto& [reader, count] : {std::pair(2, 3), {3, 6}, {4, 0}, {4, -1}, {-1, 1}, {9, 1}})
        journal.DecCounter(reader, count);
    expectCounters({5, 5, 2, 0, 5, 5, 5, 5, 40, 0});
    journal.DecCounter(8, 15);
    journal.IncCounters(4);
    expectCounters({9, 9, 6, 4, 9, 9, 9, 9, 25, 0});
    journal.IncCounters(1'000'000);
    expectCounters({20, 20, 20, 20, 20, 20, 20, 20, 25, 0});
    EXPECT_EQ(counters.get<std::uint32_t>(36) + journal.GetCounter(-1), 0U);
}

TEST_F(Posting, StaysWithinTheRingWhateverOthersWrote) {
    for (const auto& [a, b, sum, rest] : {std::tuple(7U, 5U, 2U, 2U), {0, 10, 0, 0}, {25, 2, 7, 3}})
        EXPECT_TRUE(CRolManager::CycPlus(a, b, 10) == sum &&
                    CRolManager::CycMinus(a, b, 10) == rest);
    post(journal, 1, 5);
    for (const int index : {50, 52, 53})
        RawSegment(index).put<std::uint16_t>(0, 60000);
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
    // clang-format off
    const std::function<void()> operations[] = {
        [&] { journal.Message(6, new CRolArg(RT_END)); }, [&] { journal.GetRawData(raw, 5, sizeof(raw)); },
        [&] { journal.IncCounters(1); },     [&] { journal.DecCounter(0, 1); },
        [&] { journal.GoFirstMes(); },       [&] { journal.GoMes(5); },
        [&] { journal.GetNextMes(); },       [&] { journal.GetPrevMes(); },
        [&] { journal.SetSaveRol(1); },      [&] { journal.Save(); },
        [&] { journal.ForceSave(); },        [&] { CRolManager().Init(); },
        [&] { journal.SaveMainRolling(); },  [&] { journal.SaveRezRolling(); },
        [&] { journal.LoadMainRolling(); },  [&] { journal.LoadRezRolling(); },
        [&] { journal.Load(); },
    };
    // clang-format on
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
