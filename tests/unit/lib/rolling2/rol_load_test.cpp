// Loading: which copy, what of it, and what is left of the files.
#include "lib/rolling2/rol_files.h"

#include "tests/unit/lib/rolling2/journal.h"

class Loading : public JournalTest {
  protected:
    /// A whole copy as a foreign writer leaves it, with 64 bytes of counters.
    /// @param crc  value of its CRC file, 0 to 2; negative: none is written
    void writeCopy(Copy copy, unsigned from, unsigned to, int crc) const {
        write(kMessages[copy], messagesFile(from, to));
        std::string counters;
        for (unsigned i = 0; i < 16; ++i)
            counters += little(i * 3, 4);
        write(kCounters[copy], counters);
        if (crc < 0) return;
        constexpr unsigned kChecks[] = {0x0024, 0x01D8, 0x019C};  // of the published algorithm
        write(kCrc[copy],
              "VSX__CRC" + little(static_cast<unsigned>(crc), 4) + little(kChecks[crc], 2));
    }
};

TEST_F(Loading, FillsTheRingFromSlotZeroWithTheNewest) {
    writeCopy(main, 1, 5, 0);
    CRolManager journal;
    join(journal);
    EXPECT_EQ(codes(journal), upTo(1, 5));
    EXPECT_EQ(RawSegment(53).get<std::uint16_t>(0), 4);
    EXPECT_EQ(RawSegment(51).text(0, 26), rawMessage(1));
    std::string counters;
    for (unsigned i = 0; i < 16; ++i)
        counters += little(i == 7 ? 20 : i * 3, 4);  // not 21: a reader has at most the capacity
    EXPECT_EQ(RawSegment(57).text(0, 68), counters + little(0, 4));
    EXPECT_EQ(RawSegment(56).get<std::uint32_t>(0), 0U);
    EXPECT_EQ(journal.GetSaveRol(), 2);
    post(journal, 6, 6);
    EXPECT_EQ(codes(journal), upTo(1, 6));

    for (const Copy copy : {main, reserve}) {
        const unsigned last = copy == main ? 50 : 60;
        writeCopy(copy, 1, last, 0);
        EXPECT_EQ(copy == main ? journal.LoadMainRolling() : journal.LoadRezRolling(), 0);
        EXPECT_EQ(codes(journal), upTo(last - 19, last));
    }
}

TEST_F(Loading, ChoosesTheNewerCopyAndFallsBack) {
    constexpr int kNone = -1;     // no CRC file
    constexpr int kDamaged = -2;  // one that is not whole
    struct Given {
        int crc;
        bool isReadable = true;
        bool countersFit = true;
    };
    const std::vector<unsigned> ofMain = upTo(1, 5);
    const std::vector<unsigned> ofReserve = upTo(11, 15);
    const std::vector<unsigned> none;
    const struct {
        const char* why;
        Given given[2];  // main, reserve
        std::vector<unsigned> ring;
        const char* files;
        bool allUnread = false;
    } cases[] = {
        {"main is newer", {{2}, {1}}, ofMain, "111110"},
        {"reserve is newer", {{1}, {2}}, ofReserve, "110111"},
        {"equal: the reserve", {{1}, {1}}, ofReserve, "110111"},
        {"only main is good", {{0}, {kDamaged}}, ofMain, "111110"},
        {"only reserve is good", {{kDamaged}, {0}}, ofReserve, "110111"},
        {"no CRC files", {{kNone}, {kNone}}, ofMain, "110110"},
        {"both damaged", {{kDamaged}, {kDamaged}}, none, "000000"},
        {"one damaged, one missing", {{kNone}, {kDamaged}}, none, "000000"},
        {"newer one unreadable", {{2, false}, {1}}, ofReserve, "000111"},
        {"newer one's counters bad", {{2, true, false}, {1}}, ofReserve, "000111"},
        {"both counters bad", {{2, true, false}, {1, true, false}}, ofMain, "000000", true},
        {"the only messages there are", {{2, false}, {1, true, false}}, ofReserve, "000000", true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        removeShared();
        for (const Copy copy : {main, reserve}) {
            const Given& given = c.given[copy];
            const unsigned from = copy == main ? 1 : 11;
            std::filesystem::remove(path(kCrc[copy]));
            writeCopy(copy, from, from + 4, given.crc);
            if (given.crc == kDamaged) write(kCrc[copy], "VSX__CRC123456");
            if (!given.isReadable) write(kMessages[copy], "veskrol2");
            if (!given.countersFit) write(kCounters[copy], std::string(32, '\0'));
        }
        CRolManager journal;
        join(journal);
        EXPECT_EQ(codes(journal), c.ring);
        EXPECT_EQ(files(), c.files);
        EXPECT_EQ(journal.GetCounter(0), c.allUnread ? 5U : 0U);
        EXPECT_EQ(journal.GetCounter(7), c.allUnread ? 5U : c.ring.empty() ? 0U : 20U);
    }
}

TEST_F(Loading, RefusesAndReportsDamagedFiles) {
    const std::string one = rawMessage(1);
    const std::string argument = rawMessage(1, 1, "\x01\x01x");
    const std::string full = std::string("\x09\xFD") + std::string(253, 'x');
    const std::string tooLong = "\x09\xFE" + std::string(254, 'x');
    const std::map<int, const char*> printed = {
        {3, "ошибка 3 в файле сообщений "_cp866z},
        {4, "ошибка 4 в файле сообщений "_cp866z},
        {5, "невозможно открыть файл "_cp866z},
        {6, "ошибка в содержимом заголовке файла сообщений "_cp866z},
        {7, "ошибка при чтении заголовка файла сообщений "_cp866z}};
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
        {"arguments just fit", messagesFile(1, 0, rawMessage(1, 1, full)), 0, 1},
        {"arguments overflow", messagesFile(1, 0, rawMessage(1, 2, full + "\x01\x01")), 4, 0},
        {"longer than the room", messagesFile(1, 0, rawMessage(1, 1, tooLong)), 4, 0},
        {"more behind the last", messagesFile(1, 0, argument + "xyz"), 0, 1},
        {"last below the newest", messagesFile(2, 0, one + argument), 0, 2},
    };
    CRolManager journal;
    join(journal);
    post(journal, 100, 102);
    const auto expectRefused = [&](Copy copy, int error, const std::string& first,
                                   const std::string& what) {
        Capture out(STDOUT_FILENO);
        EXPECT_EQ(copy == main ? journal.LoadMainRolling() : journal.LoadRezRolling(), error);
        EXPECT_EQ(out.text(), "Rolling LIB: " + first + "\nRollingLib: Load" +
                                  (copy == main ? "Main" : "Rez") + "Rolling " + what + "error " +
                                  std::to_string(error) + "\n");
        EXPECT_EQ(codes(journal), upTo(100, 102)) << "untouched";
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        const RolMessages parsed = RolParseMessages(
            {reinterpret_cast<const std::uint8_t*>(c.bytes.data()), c.bytes.size()});
        EXPECT_EQ(parsed.error, c.error);
        EXPECT_EQ(parsed.messages.size(), c.readable);
        write(kMessages[main], c.bytes);
        if (c.error == 0) continue;
        expectRefused(main, c.error, printed.at(c.error) + path(kMessages[main]), "");
    }
    journal.EraseRollingFiles();
    const std::string closed = printed.at(5);
    expectRefused(main, 5, closed + path(kMessages[main]) + " для чтения сообщений"_cp866z, "");
    write(kMessages[reserve], messagesFile(1, 3));
    expectRefused(reserve, 5, closed + path(kCounters[reserve]) + " для чтения счетчиков"_cp866z,
                  "counters ");
    write(kCounters[reserve], "short");
    expectRefused(reserve, 3, "ошибка в файле счетчиков "_cp866z + (path(kCounters[reserve]) + " "),
                  "counters ");
}
