// Saving and reading.
#include "journal.h"
#include "lib/util/crc.h"

namespace {

class Saving : public JournalTest {
  protected:
    Saving() {
        join(journal);
        journal.SetSaveRol(1);
    }

    /// Codes and count in the messages file of a copy.
    std::string savedCodes(Copy copy) const {
        const std::string bytes = read(messagesName(copy));
        if (bytes.size() < 14) return "none";
        std::string all;
        for (std::size_t at = 14; at < bytes.size(); at += 26)
            all += std::to_string(static_cast<unsigned char>(bytes[at + 18])) + " ";
        return all;
    }

    CRolManager journal;
};

TEST_F(Saving, WritesMessagesCountersAndCrc) {
    ChildProcess saver([] {
        CRolManager own;
        EXPECT_EQ(own.Init(), 0);
        EXPECT_EQ(own.Message(5, new CRolArg(1), new CRolArg(RT_END)), 0);
        EXPECT_EQ(own.Message(6, new CRolArg(RT_END)), 0);
        own.DecCounter(3, 1);
        return own.ForceSave();
    });
    ASSERT_EQ(saver.wait(), 0);
    EXPECT_EQ(saver.out(), "");
    const RawSegment ring(51);
    EXPECT_EQ(read("dat/rolling2.dat"),
              "veskrol2.1" + little(2, 2) + little(1, 2) + ring.text(281, 32) + ring.text(562, 26));
    EXPECT_EQ(read("dat/cntroll2.dat"), little(2, 4) + little(2, 4) + little(2, 4) + little(1, 4) +
                                            little(2, 4) + little(2, 4) + little(2, 4) +
                                            little(2, 4));
    unsigned number = 0;
    EXPECT_EQ(CheckCRCFile(path("check/chk_rol2.dat").c_str(), &number), 0);
    EXPECT_FALSE(exists("rezerv/rolling2.dat"));
    EXPECT_EQ(RawSegment(55).get<char>(0), 1) << "the reserve is next";
    EXPECT_EQ(RawSegment(56).get<std::uint32_t>(0), 0U);
}

TEST_F(Saving, TakesTurnsAndKeepsTheNewest) {
    post(journal, 1, 15);
    ASSERT_EQ(journal.ForceSave(), 0);
    EXPECT_EQ(savedCodes(Copy::main), "6 7 8 9 10 11 12 13 14 15 ") << "as many as a file holds";
    EXPECT_EQ(read("dat/cntroll2.dat").substr(0, 4), little(10, 4));
    post(journal, 16, 25);  // round the ring
    ASSERT_EQ(journal.ForceSave(), 0);
    EXPECT_EQ(savedCodes(Copy::reserve), "16 17 18 19 20 21 22 23 24 25 ");
    EXPECT_EQ(savedCodes(Copy::main), "6 7 8 9 10 11 12 13 14 15 ");
    ASSERT_EQ(journal.ForceSave(), 0) << "also when nothing is new";
    EXPECT_EQ(savedCodes(Copy::main), "16 17 18 19 20 21 22 23 24 25 ");
    unsigned main = 0;
    unsigned reserve = 0;
    std::memcpy(&main, read(crcName(Copy::main)).data() + 8, 4);
    std::memcpy(&reserve, read(crcName(Copy::reserve)).data() + 8, 4);
    EXPECT_EQ(main, reserve + 1) << "the newer one has the greater number";

    post(journal, 26, 26);
    ASSERT_EQ(journal.SaveMainRolling(), 0);
    EXPECT_EQ(savedCodes(Copy::main), "17 18 19 20 21 22 23 24 25 26 ");
    ASSERT_EQ(journal.SaveRezRolling(), 0);
    EXPECT_EQ(savedCodes(Copy::reserve), savedCodes(Copy::main));
}

TEST_F(Saving, SavesInTheBackgroundWhatIsNew) {
    EXPECT_EQ(journal.Save(), 0);
    EXPECT_EQ(RawSegment(55).get<char>(0), 0) << "nothing new";
    post(journal, 1, 2);
    EXPECT_EQ(journal.Save(), 0);
    EXPECT_TRUE(waitUntil([this] { return exists(crcName(Copy::main)); }));
    EXPECT_EQ(savedCodes(Copy::main), "1 2 ");
    EXPECT_EQ(journal.Save(), 0);
    post(journal, 3, 3);
    // A save that still runs is not waited for; the next call does what it left.
    EXPECT_TRUE(
        waitUntil([this] { return journal.Save() == 0 && exists(crcName(Copy::reserve)); }));
    journal.Close();
    EXPECT_EQ(savedCodes(Copy::reserve), "1 2 3 ");
}

TEST_F(Saving, WritesNothingWhileItIsOffOrThereIsNothing) {
    EXPECT_EQ(journal.ForceSave(), 0) << "the ring is empty";
    journal.SetSaveRol(2);
    EXPECT_EQ(journal.GetSaveRol(), 2);
    post(journal, 1, 2);
    EXPECT_EQ(journal.ForceSave(), 0);
    EXPECT_EQ(journal.Save(), 0);
    EXPECT_EQ(journal.SaveMainRolling(), 0);
    journal.Close();
    EXPECT_FALSE(exists(messagesName(Copy::main)));
    EXPECT_EQ(RawSegment(56).get<std::uint32_t>(0), 1U) << "still to be saved";
    join(journal);
    RawSegment(50).put<std::uint16_t>(2, 0);  // no message in files
    journal.SetSaveRol(1);
    EXPECT_EQ(journal.GetSaveRol(), 2);
}

TEST_F(Saving, ReportsFilesThatCannotBeWritten) {
    const std::string forMessages = " для записи сообщений\n"_cp866z;
    const std::string forCounters = " для записи счетчиков\n"_cp866z;
    const std::string cannotOpen = "Rolling LIB: невозможно открыть файл "_cp866z;
    const std::string shortWrite = "Rolling LIB: ошибка записи в файл сообщений "_cp866z;
    post(journal, 1, 3);
    const struct {
        const char* why;
        std::function<void()> spoil;
        int result;
        std::string printed;
    } cases[] = {
        {"messages are a folder",
         [this] { std::filesystem::create_directory(path("dat/rolling2.dat")); }, 5,
         cannotOpen + path("dat/rolling2.dat") + forMessages},
        {"counters are a folder",
         [this] { std::filesystem::create_directory(path("dat/cntroll2.dat")); }, 5,
         cannotOpen + path("dat/cntroll2.dat") + forCounters},
        {"the disk is full for messages",
         [this] { std::filesystem::create_symlink("/dev/full", path("dat/rolling2.dat")); }, 8,
         shortWrite + path("dat/rolling2.dat") + forMessages},
        {"the disk is full for counters",
         [this] { std::filesystem::create_symlink("/dev/full", path("dat/cntroll2.dat")); }, 8,
         shortWrite + path("dat/cntroll2.dat") + forMessages},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        c.spoil();
        Capture out(STDOUT_FILENO);
        EXPECT_EQ(journal.SaveMainRolling(), c.result);
        EXPECT_EQ(out.text(), c.printed);
        EXPECT_FALSE(exists(crcName(Copy::main))) << "so the loader does not trust it";
        journal.EraseMainRollingFiles();
        std::filesystem::remove(path("dat/rolling2.dat"));
        std::filesystem::remove(path("dat/cntroll2.dat"));
    }
    CRolManager never;
    Capture out(STDOUT_FILENO);
    EXPECT_NE(CRolManager::SaveRollThread(&never), nullptr);
    EXPECT_EQ(out.text(), "SaveRollThread: Rol2PathCur == NULL\n");
}

TEST_F(Saving, ErasesTheFilesOfACopy) {
    post(journal, 1, 1);
    const auto saveBoth = [this] {
        ASSERT_EQ(journal.SaveMainRolling(), 0);
        ASSERT_EQ(journal.SaveRezRolling(), 0);
    };
    saveBoth();
    EXPECT_EQ(files(), "111111");
    journal.EraseMainRollingFiles();
    EXPECT_EQ(files(), "000111");
    saveBoth();
    journal.EraseRezRollingFiles();
    EXPECT_EQ(files(), "111000");
    saveBoth();
    journal.EraseRollingFiles();
    EXPECT_EQ(files(), "000000");
}

// ---- Reading -----------------------------------------------------------------------------------

class Reading : public JournalTest {
  protected:
    Reading() { join(journal); }
    CRolManager journal;
};

TEST_F(Reading, HandsOutRawMessagesWithoutTheirStamp) {
    ASSERT_EQ(journal.Message(1, new CRolArg(9), new CRolArg(RT_END)), 0);
    post(journal, 2, 3);
    const RawSegment ring(51);
    const std::string first = ring.text(281 + 8, 24);
    const std::string second = ring.text(2 * 281 + 8, 18);
    const std::string third = ring.text(3 * 281 + 8, 18);
    const struct {
        const char* why;
        unsigned short from;
        unsigned count;
        unsigned long size;
        std::string bytes;
    } cases[] = {
        {"all", 1, 3, 1000, first + second + third},
        {"one byte less", 1, 2, 59, first + second},
        {"not even one", 1, 0, 23, ""},
        {"the newest", 3, 1, 1000, third},
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
    EXPECT_EQ(journal.GoFirstMes(), -1) << "empty";
    EXPECT_EQ(journal.GetNextMes(), -1);
    EXPECT_EQ(journal.GetPrevMes(), -1);
    post(journal, 1, 25);
    const auto code = [this] { return journal.CurMessage.Message.MessageCode + 0U; };
    ASSERT_EQ(journal.GoFirstMes(), 0);
    EXPECT_EQ(code(), 6U);
    EXPECT_EQ(journal.GetPrevMes(), -1);
    EXPECT_EQ(code(), 6U);
    EXPECT_EQ(journal.GetNextMes(), 0);
    EXPECT_EQ(code(), 7U);
    EXPECT_EQ(journal.GoMes(0), 0);
    EXPECT_EQ(code(), 20U);
    EXPECT_EQ(journal.GetPrevMes(), 0);
    EXPECT_EQ(code(), 19U);
    EXPECT_EQ(journal.GoMes(20), -1);
    EXPECT_EQ(journal.GoMes(5), 0);
    EXPECT_EQ(code(), 25U);
    EXPECT_EQ(journal.GetNextMes(), -1);
    CRolManager later;
    join(later);
    EXPECT_EQ(later.CurIndexSeq, 5U) << "begins at the newest";
    EXPECT_EQ(later.GetPrevMes(), 0);
    EXPECT_EQ(later.CurMessage.Message.MessageCode + 0U, 24U);
}

}  // namespace
