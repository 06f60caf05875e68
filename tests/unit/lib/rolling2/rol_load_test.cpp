// Loading: which copy, what of it, and what is left of the files.
#include "lib/rolling2/rol_files.h"

#include "journal.h"

namespace {

class Loading : public JournalTest {
  protected:
    /// A whole copy as a foreign writer leaves it, with 64 bytes of counters.
    void writeCopy(Copy copy, unsigned from, unsigned to, int crcValue) const {
        write(messagesName(copy), messagesFile(from, to));
        std::string counters;
        for (unsigned i = 0; i < 16; ++i)
            counters += little(i * 3, 4);
        write(countersName(copy), counters);
        if (crcValue >= 0) writeCrc(copy, crcValue);
    }
    void removeFiles() const {
        for (const Copy copy : {Copy::main, Copy::reserve})
            for (const auto& name : {messagesName(copy), countersName(copy), crcName(copy)})
                std::filesystem::remove(path(name));
    }
};

TEST_F(Loading, FillsTheRingFromSlotZero) {
    writeCopy(Copy::main, 1, 5, 0);
    CRolManager journal;
    join(journal);
    EXPECT_EQ(codes(journal), upTo(1, 5));
    EXPECT_EQ(RawSegment(53).get<std::uint16_t>(0), 4);
    EXPECT_EQ(RawSegment(51).text(0, 26), messagesFile(1, 1).substr(14));
    const RawSegment counters(57);
    EXPECT_EQ(counters.get<std::uint32_t>(0), 0U);
    EXPECT_EQ(counters.get<std::uint32_t>(4), 3U);
    EXPECT_EQ(counters.get<std::uint32_t>(28), 20U) << "21, at most the capacity";
    EXPECT_EQ(counters.get<std::uint32_t>(32), 24U) << "the second half of what is read";
    EXPECT_EQ(counters.get<std::uint32_t>(60), 45U);
    EXPECT_EQ(counters.get<std::uint32_t>(64), 0U);
    EXPECT_EQ(RawSegment(56).get<std::uint32_t>(0), 0U);
    EXPECT_EQ(journal.GetSaveRol(), 2);
    post(journal, 6, 6);
    EXPECT_EQ(codes(journal), upTo(1, 6));
}

TEST_F(Loading, DropsTheOldestThatDoNotFit) {
    writeCopy(Copy::main, 1, 50, 0);
    CRolManager journal;
    join(journal);
    EXPECT_EQ(codes(journal), upTo(31, 50));
}

TEST_F(Loading, ChoosesTheNewerCopyAndFallsBack) {
    constexpr int kNone = -1;     // no CRC file
    constexpr int kDamaged = -2;  // one that is not whole
    struct Given {
        int crc;
        bool isReadable = true;
        bool countersFit = true;
    };
    const std::vector<unsigned> main = upTo(1, 5);
    const std::vector<unsigned> reserve = upTo(11, 15);
    const std::vector<unsigned> none;
    const struct {
        const char* why;
        Given main, reserve;
        std::vector<unsigned> ring;
        const char* files;
        bool allUnread = false;
    } cases[] = {
        {"main is newer", {2}, {1}, main, "111110"},
        {"reserve is newer", {1}, {2}, reserve, "110111"},
        {"equal: the reserve", {1}, {1}, reserve, "110111"},
        {"only main is good", {0}, {kDamaged}, main, "111110"},
        {"only reserve is good", {kDamaged}, {0}, reserve, "110111"},
        {"no CRC files", {kNone}, {kNone}, main, "110110"},
        {"both damaged", {kDamaged}, {kDamaged}, none, "000000"},
        {"one damaged, one missing", {kNone}, {kDamaged}, none, "000000"},
        {"newer one unreadable", {2, false}, {1}, reserve, "000111"},
        {"newer one's counters bad", {2, true, false}, {1}, reserve, "000111"},
        {"both unreadable", {2, false}, {1, false}, none, "000000"},
        {"both counters bad: messages of the newer",
         {2, true, false},
         {1, true, false},
         main,
         "000000",
         true},
        {"the only messages there are", {2, false}, {1, true, false}, reserve, "000000", true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        removeShared();
        removeFiles();
        for (const Copy copy : {Copy::main, Copy::reserve}) {
            const Given& given = copy == Copy::main ? c.main : c.reserve;
            const unsigned from = copy == Copy::main ? 1 : 11;
            writeCopy(copy, from, from + 4, given.crc);
            if (given.crc == kDamaged) write(crcName(copy), "VSX__CRC123456");
            if (!given.isReadable) write(messagesName(copy), "veskrol2");
            if (!given.countersFit) write(countersName(copy), std::string(32, '\0'));
        }
        CRolManager journal;
        join(journal);
        EXPECT_EQ(codes(journal), c.ring);
        EXPECT_EQ(files(), c.files);
        EXPECT_EQ(RawSegment(57).get<std::uint32_t>(0), c.allUnread ? 5U : 0U);
        EXPECT_EQ(RawSegment(57).get<std::uint32_t>(28), c.ring.empty() ? 0U
                                                         : c.allUnread  ? 5U
                                                                        : 20U);
    }
}

TEST_F(Loading, RefusesDamagedMessagesFiles) {
    const std::string one = Record{.code = 1}.raw();
    const std::string argument = Record{.code = 1, .args = "\x01\x01x", .argCount = 1}.raw();
    const std::string full = std::string("\x09\xFD") + std::string(253, 'x');
    const struct {
        const char* why;
        std::string bytes;
        int error;
        std::size_t readable;
    } cases[] = {
        {"header cut", messagesFile(1, 0, one).substr(0, 13), 7, 0},
        {"another tag", "veskrol2.0" + messagesFile(1, 0, one).substr(10), 6, 0},
        {"no messages", messagesFile(0, 65535, ""), 6, 0},
        {"last not below the count", messagesFile(1, 1, one), 6, 0},
        {"second one missing", messagesFile(2, 1, one), 3, 1},
        {"second one cut in its head", messagesFile(2, 1, one + one.substr(0, 25)), 3, 1},
        {"cut in an argument", messagesFile(1, 0, argument.substr(0, 28)), 3, 0},
        {"arguments just fit", messagesFile(1, 0, Record{.args = full, .argCount = 1}.raw()), 0, 1},
        {"arguments overflow",
         messagesFile(1, 0, Record{.args = full + std::string(2, '\0'), .argCount = 2}.raw()), 4,
         0},
        {"an argument longer than the room",
         messagesFile(1, 0,
                      Record{.args = "\x09\xFE" + std::string(254, 'x'), .argCount = 1}.raw()),
         4, 0},
        {"more behind the last", messagesFile(1, 0, argument + "xyz"), 0, 1},
        {"last below the newest", messagesFile(2, 0, one + argument), 0, 2},
    };
    CRolManager journal;
    join(journal);
    post(journal, 100, 102);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        const std::span bytes(reinterpret_cast<const std::uint8_t*>(c.bytes.data()),
                              c.bytes.size());
        const RolMessages parsed = RolParseMessages(bytes);
        EXPECT_EQ(parsed.error, c.error);
        EXPECT_EQ(parsed.messages.size(), c.readable);
        if (c.error == 0) continue;
        write("dat/rolling2.dat", c.bytes);
        write("dat/cntroll2.dat", std::string(64, '\0'));
        const Capture quiet(STDOUT_FILENO);
        EXPECT_EQ(journal.LoadMainRolling(), c.error);
        EXPECT_EQ(codes(journal), upTo(100, 102)) << "untouched";
    }
}

TEST_F(Loading, ReportsWhatIsWrong) {
    const std::string cannotOpen = "Rolling LIB: невозможно открыть файл "_cp866z;
    const std::string forMessages = " для чтения сообщений\n"_cp866z;
    const std::string forCounters = " для чтения счетчиков\n"_cp866z;
    const std::string error = "Rolling LIB: ошибка "_cp866z;
    const std::string main = path("dat/rolling2.dat");
    const std::string reserve = path("rezerv/rolling2.dat");
    const std::string reserveCounters = path("rezerv/cntroll2.dat");
    const std::string whole = messagesFile(1, 2);
    CRolManager journal;
    join(journal);
    const struct {
        const char* why;
        Copy copy;
        int result;
        const char* messages;
        const char* counters;  // null: no file
        std::string printed;
    } cases[] = {
        {"no file", Copy::main, 5, nullptr, nullptr,
         cannotOpen + main + forMessages + "RollingLib: LoadMainRolling error 5\n"},
        {"header cut", Copy::reserve, 7, "veskrol2.1", nullptr,
         error + "при чтении заголовка файла сообщений "_cp866z + reserve +
             "\nRollingLib: LoadRezRolling error 7\n"},
        {"header bad", Copy::main, 6, "veskrol2.0123456", nullptr,
         error + "в содержимом заголовке файла сообщений "_cp866z + main +
             "\nRollingLib: LoadMainRolling error 6\n"},
        {"message cut", Copy::reserve, 3, "veskrol2.1\x02\x01\x01\x01", nullptr,
         error + "3 в файле сообщений "_cp866z + reserve +
             "\nRollingLib: LoadRezRolling error 3\n"},
        {"no counters", Copy::reserve, 5, whole.c_str(), nullptr,
         cannotOpen + reserveCounters + forCounters +
             "RollingLib: LoadRezRolling counters error 5\n"},
        {"counters short", Copy::main, 3, whole.c_str(), "short",
         error + "в файле счетчиков "_cp866z + path("dat/cntroll2.dat") +
             " \nRollingLib: LoadMainRolling counters error 3\n"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        removeFiles();
        if (c.messages != nullptr)
            write(messagesName(c.copy), c.messages == whole.c_str() ? whole : c.messages);
        if (c.counters != nullptr) write(countersName(c.copy), c.counters);
        Capture out(STDOUT_FILENO);
        EXPECT_EQ(c.copy == Copy::main ? journal.LoadMainRolling() : journal.LoadRezRolling(),
                  c.result);
        EXPECT_EQ(out.text(), c.printed);
        EXPECT_EQ(codes(journal).size(), 0U);
    }
    writeCopy(Copy::reserve, 1, 3, -1);
    EXPECT_EQ(journal.LoadRezRolling(), 0);
    EXPECT_EQ(codes(journal), upTo(1, 3));
    writeCopy(Copy::main, 4, 6, 1);
    EXPECT_EQ(journal.Load(), 0);
    EXPECT_EQ(codes(journal), upTo(4, 6));
}

}  // namespace
