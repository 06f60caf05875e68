// Saving and reading.
#include "lib/util/crc.h"
#include "tests/unit/lib/rolling2/journal.h"

class Saving : public JoinedJournal {
  protected:
    Saving() { journal.SetSaveRol(1); }

    /// Codes in the messages file of a copy, of messages without arguments.
    std::vector<unsigned> savedCodes(Copy copy) const {
        const std::string bytes = read(kMessages[copy]);
        std::vector<unsigned> all;
        for (std::size_t at = 14; at < bytes.size(); at += 26)
            all.push_back(static_cast<unsigned char>(bytes[at + 18]));
        return all;
    }
    /// The number in a copy's CRC file.
    unsigned saveNumber(Copy copy) const {
        unsigned number = 0;
        EXPECT_EQ(CheckCRCFile(path(kCrc[copy]).c_str(), &number), 0);
        return number;
    }
};

TEST_F(Saving, WritesMessagesCountersAndCrc) {
    ASSERT_EQ(journal.Message(5, new CRolArg(1), new CRolArg(RT_END)), 0);
    post(journal, 6, 6);
    journal.DecCounter(3, 1);
    Capture out(STDOUT_FILENO);
    ASSERT_EQ(journal.ForceSave(), 0);
    EXPECT_EQ(out.text(), "");
    const RawSegment ring(51);
    EXPECT_EQ(read(kMessages[main]),
              "veskrol2.1" + little(2, 2) + little(1, 2) + ring.text(281, 32) + ring.text(562, 26));
    for (unsigned reader = 0; reader < 8; ++reader)
        EXPECT_EQ(read(kCounters[main]).substr(reader * 4, 4), little(reader == 3 ? 1 : 2, 4));
    EXPECT_EQ(files(), "111000");
    EXPECT_EQ(RawSegment(55).get<char>(0), 1) << "the reserve is next";
    EXPECT_EQ(RawSegment(56).get<std::uint32_t>(0), 0U);
    ASSERT_EQ(journal.SaveRezRolling(), 0);
    journal.EraseMainRollingFiles();
    EXPECT_EQ(files(), "000111");
    ASSERT_EQ(journal.SaveMainRolling(), 0);
    journal.EraseRezRollingFiles();
    EXPECT_EQ(files(), "111000");
}

TEST_F(Saving, TakesTurnsAndKeepsTheNewest) {
    post(journal, 1, 15);
    ASSERT_EQ(journal.ForceSave(), 0);
    EXPECT_EQ(savedCodes(main), upTo(6, 15)) << "as many as a file holds";
    EXPECT_EQ(read(kCounters[main]).substr(0, 4), little(10, 4));
    post(journal, 16, 25);  // round the ring
    ASSERT_EQ(journal.ForceSave(), 0);
    EXPECT_EQ(savedCodes(reserve), upTo(16, 25));
    EXPECT_EQ(savedCodes(main), upTo(6, 15));
    ASSERT_EQ(journal.ForceSave(), 0) << "also when nothing is new";
    EXPECT_EQ(savedCodes(main), upTo(16, 25));
    EXPECT_EQ(saveNumber(main), saveNumber(reserve) + 1);
}

TEST_F(Saving, SavesInTheBackgroundWhatIsNew) {
    EXPECT_EQ(journal.Save(), 0);
    EXPECT_EQ(RawSegment(55).get<char>(0), 0) << "nothing new";
    post(journal, 1, 2);
    EXPECT_EQ(journal.Save(), 0);
    EXPECT_TRUE(waitUntil([this] { return exists(kCrc[main]); }));
    EXPECT_EQ(savedCodes(main), upTo(1, 2));
    EXPECT_EQ(journal.Save(), 0);
    post(journal, 3, 3);
    // A save that still runs is not waited for; the next call does what it left.
    EXPECT_TRUE(waitUntil([this] { return journal.Save() == 0 && exists(kCrc[reserve]); }));
    journal.Close();
    EXPECT_EQ(savedCodes(reserve), upTo(1, 3));
}

TEST_F(Saving, WritesNothingWhileItIsOffOrThereIsNothing) {
    EXPECT_EQ(journal.ForceSave(), 0) << "the ring is empty";
    journal.SetSaveRol(2);
    EXPECT_EQ(journal.GetSaveRol(), 2);
    post(journal, 1, 2);
    EXPECT_EQ(journal.ForceSave() + journal.Save() + journal.SaveMainRolling(), 0);
    journal.Close();
    EXPECT_EQ(files(), "000000");
    EXPECT_EQ(RawSegment(56).get<std::uint32_t>(0), 1U) << "still to be saved";
    join(journal);
    RawSegment(50).put<std::uint16_t>(2, 0);  // no message in files
    journal.SetSaveRol(1);
    EXPECT_EQ(journal.GetSaveRol(), 2);
}

TEST_F(Saving, ReportsFilesThatCannotBeWritten) {
    post(journal, 1, 3);
    for (const auto& [name, purpose] : {std::pair(kMessages[main], " для записи сообщений"_cp866z),
                                        {kCounters[main], " для записи счетчиков"_cp866z}}) {
        SCOPED_TRACE(name);
        std::filesystem::create_directory(path(name));
        Capture notOpened(STDOUT_FILENO);
        EXPECT_EQ(journal.SaveMainRolling(), 5);
        EXPECT_EQ(notOpened.text(),
                  "Rolling LIB: невозможно открыть файл "_cp866z + path(name) + purpose + "\n");
        std::filesystem::remove(path(name));
        std::filesystem::create_symlink("/dev/full", path(name));
        Capture notWritten(STDOUT_FILENO);
        EXPECT_EQ(journal.SaveMainRolling(), 8);
        EXPECT_EQ(notWritten.text(), "Rolling LIB: ошибка записи в файл сообщений "_cp866z +
                                         path(name) + " для записи сообщений\n"_cp866z);
        EXPECT_FALSE(exists(kCrc[main])) << "so the loader does not trust it";
        journal.EraseMainRollingFiles();
    }
    CRolManager never;
    Capture out(STDOUT_FILENO);
    EXPECT_NE(CRolManager::SaveRollThread(&never), nullptr);
    EXPECT_EQ(out.text(), "SaveRollThread: Rol2PathCur == NULL\n");
}

// ---- Reading -----------------------------------------------------------------------------------

class Reading : public JoinedJournal {};

TEST_F(Reading, HandsOutRawMessagesWithoutTheirStamp) {
    ASSERT_EQ(journal.Message(1, new CRolArg(9), new CRolArg(RT_END)), 0);
    post(journal, 2, 3);
    const RawSegment ring(51);
    const std::string all = ring.text(289, 24) + ring.text(570, 18) + ring.text(851, 18);
    const struct {
        const char* why;
        unsigned short from;
        unsigned count;
        unsigned long size;
        std::string bytes;
    } cases[] = {
        {"all", 1, 3, 60, all},
        {"one byte less", 1, 2, 59, all.substr(0, 42)},
        {"not even one", 1, 0, 23, ""},
        {"the newest", 3, 1, 1000, all.substr(42)},
        {"the slot before the first", 0, 0, 1000, ""},
        {"no slot", 20, 0, 1000, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        std::string buffer(1000, '?');
        EXPECT_EQ(journal.GetRawData(buffer.data(), c.from, c.size), c.count);
        EXPECT_EQ(buffer.substr(0, c.bytes.size() + 1), c.bytes + "?");
    }
}

TEST_F(Reading, MovesTheCursorWithinTheRing) {
    EXPECT_EQ(journal.GoFirstMes() + journal.GetNextMes() + journal.GetPrevMes(), -3) << "empty";
    post(journal, 1, 25);
    const struct {
        const char* why;
        std::function<int()> move;
        int result;
        unsigned code;  // of the message the cursor is at then
    } steps[] = {
        {"the oldest", [this] { return journal.GoFirstMes(); }, 0, 6},
        {"none before it", [this] { return journal.GetPrevMes(); }, -1, 6},
        {"on", [this] { return journal.GetNextMes(); }, 0, 7},
        {"to a slot", [this] { return journal.GoMes(0); }, 0, 20},
        {"back, round the ring", [this] { return journal.GetPrevMes(); }, 0, 19},
        {"no such slot", [this] { return journal.GoMes(20); }, -1, 19},
        {"the newest", [this] { return journal.GoMes(5); }, 0, 25},
        {"none behind it", [this] { return journal.GetNextMes(); }, -1, 25},
        {"who joins begins at the newest", [this] { return journal.Init(); }, 0, 25},
        {"back from there", [this] { return journal.GetPrevMes(); }, 0, 24},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.why);
        EXPECT_EQ(step.move(), step.result);
        EXPECT_EQ(journal.CurMessage.Message.MessageCode + 0U, step.code);
    }
}
