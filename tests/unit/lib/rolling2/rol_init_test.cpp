// Joining: segments, settings, who is the first.
#include <algorithm>

#include "journal.h"

namespace {

class Joining : public JournalTest {};

TEST_F(Joining, TheFirstMakesTheSegmentsAndNobodyRemovesThem) {
    {
        CRolManager journal;
        join(journal);
        EXPECT_EQ(journal.is_already_init(), 0);
        EXPECT_EQ(journal.ControllerNumber, 7);
        EXPECT_EQ(journal.GetSaveRol(), 2);
        CRolManager second;
        join(second);
        EXPECT_EQ(second.is_already_init(), 1);
        EXPECT_EQ(second.ControllerNumber, 7);
    }
    const struct {
        int index;
        std::size_t size;
        std::string bytes;  // its beginning
    } segments[] = {
        {50, 120,
         little(20, 2) + little(10, 2) + little(1000, 8) + little(301, 8) + "/dictionaries"},
        {87, 4, little(2, 2) + little(1, 2)},
        {51, 20 * 281, std::string(281, '\0')},
        {52, 2, little(0, 2)},
        {53, 2, little(0, 2)},
        {54, 1, "\x02"},
        {55, 1, little(0, 1)},
        {56, 4, little(0, 4)},
        {58, 1, "\x01"},
        {57, 1792, std::string(1792, '\0')},
    };
    for (const auto& segment : segments) {
        SCOPED_TRACE(segment.index);
        const RawSegment raw(segment.index);
        ASSERT_TRUE(raw.exists());
        EXPECT_EQ(raw.size(), segment.size);
        EXPECT_EQ(raw.text(0, segment.bytes.size()), segment.bytes);
    }
    EXPECT_TRUE(IpcFind(IpcKind::semaphore, vesk.key("proxy", '*'))) << "survives its maker";
    CRolManager later;
    join(later);
    EXPECT_EQ(later.is_already_init(), 1);
}

TEST_F(Joining, KeepsWhatIsThereForTheNextOnes) {
    CRolManager first;
    join(first);
    post(first, 1, 3);
    first.SetSaveRol(1);
    settings("[ROLLING]\nMaxNumMessageMemory = 50\n[StartSetup]\nNumber_kontr = 9\n");
    CRolManager second;
    join(second);
    EXPECT_EQ(codes(second), upTo(1, 3));
    EXPECT_EQ(second.GetSaveRol(), 1);
    EXPECT_EQ(second.IniFileSettings->NumMessagesInMemory, 20) << "settings are the first one's";
    EXPECT_EQ(second.ControllerNumber, 9) << "but for the number";

    second.Close();
    EXPECT_EQ(second.Messages, nullptr);
    EXPECT_EQ(second.GoFirstMes(), -1);
    join(second);
    EXPECT_EQ(codes(second), upTo(1, 3));
}

TEST_F(Joining, TakesSettingsFromTheFileWithinLimits) {
    const struct {
        const char* why;
        const char* text;
        unsigned inMemory, inFile;
        std::uint64_t interval, dictionary;
    } cases[] = {
        {"all",
         "[ROLLING]\nMaxNumMessageMemory=100\nMaxNumMessageDisk=50\nSaveTime=500\n"
         "[SystemDictionary]\nSystemDictionary=302\n",
         100, 50, 500, 302},
        {"more in files than in memory",
         "[ROLLING]\nMaxNumMessageDisk=5000\nMaxNumMessageMemory=1000\nSaveTime=50\n", 1000, 1000,
         1000, 301},
        {"the dictionary has its own section", "[ROLLING]\nSystemDictionary=302\n", 3000, 250, 1000,
         301},
        {"too few", "[ROLLING]\nMaxNumMessageMemory=9\nMaxNumMessageDisk=9\nSaveTime=99\n", 3000,
         250, 1000, 301},
        {"few in memory, the default in files", "[ROLLING]\nMaxNumMessageMemory=60\n", 60, 60, 1000,
         301},
        {"no interval", "[ROLLING]\nSaveTime=0\n", 3000, 250, 0, 301},
        {"most", "[ROLLING]\nMaxNumMessageMemory=65535\n", 65535, 250, 1000, 301},
        {"no numbers of 16 bits",
         "[ROLLING]\nMaxNumMessageMemory=65636\nMaxNumMessageDisk=-1\nSaveTime=-5\n", 3000, 250,
         1000, 301},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        settings(c.text);
        removeShared();
        CRolManager journal;
        join(journal);
        const RawSegment raw(50);
        EXPECT_EQ(raw.get<std::uint16_t>(0), c.inMemory);
        EXPECT_EQ(raw.get<std::uint16_t>(2), c.inFile);
        EXPECT_EQ(raw.get<std::uint64_t>(4), c.interval);
        EXPECT_EQ(raw.get<std::uint64_t>(12), c.dictionary);
        EXPECT_EQ(RawSegment(51).size(), c.inMemory * 281U);
    }
}

TEST_F(Joining, ReportsAMissingSettingsFileOnce) {
    std::filesystem::remove(path("settings/veskkntr.ini"));
    Capture out(STDOUT_FILENO);
    CRolManager first;
    EXPECT_EQ(first.Init(), 0);
    const std::string printed = out.text();
    EXPECT_EQ(printed.substr(0, printed.find('\n') + 1),
              std::string("Rolling LIB: Ini-файл "_cp866z) + path("settings/veskkntr.ini") +
                  " не найден. Все установки по умолчанию\n"_cp866z);
    EXPECT_EQ(first.IniFileSettings->NumMessagesInMemory, 3000);
    EXPECT_EQ(first.ControllerNumber, 0);
    Capture again(STDOUT_FILENO);
    CRolManager second;
    EXPECT_EQ(second.Init(), 0);
    EXPECT_EQ(again.text(), "");
}

TEST_F(Joining, ReportsASegmentThatCannotBeHad) {
    const RawSegment tooSmall(51, 281);
    Capture err(STDERR_FILENO);
    Capture out(STDOUT_FILENO);
    CRolManager journal;
    EXPECT_EQ(journal.Init(), 51);
    const std::string printed = out.text();
    const std::string expected =
        "Rolling LIB: ошибка 51 при инициализации (открытие шаренной памяти)\n"_cp866z;
    ASSERT_GE(printed.size(), expected.size());
    EXPECT_EQ(printed.substr(printed.size() - expected.size()), expected);
    EXPECT_EQ(journal.Messages, nullptr);
    // The lock is free again: another process gets as far.
    ChildProcess other([] { return CRolManager().Init(); });
    EXPECT_EQ(other.wait(), 51);
}

TEST_F(Joining, LoadsForWhoeverMakesTheRing) {
    write(messagesName(Copy::main), messagesFile(1, 3));
    write(countersName(Copy::main), std::string(64, '\0'));
    {
        // Its maker was stopped, or a quicker one came first: there is a semaphore and nothing
        // else.
        CRolManager maker;
        join(maker);
        maker.Close();
        for (const int index : kRolOwnSegments)
            IpcRemove(IpcKind::segment, IpcFind(IpcKind::segment, ShmKey(index, 0))->id);
    }
    write(messagesName(Copy::main), messagesFile(4, 6));
    write(countersName(Copy::main), std::string(64, '\0'));
    CRolManager journal;
    join(journal);
    EXPECT_EQ(journal.is_already_init(), 1);
    EXPECT_EQ(journal.IniFileSettings->NumMessagesInMemory, 20);
    EXPECT_EQ(codes(journal), upTo(4, 6));
}

TEST_F(Joining, StartedTogetherLosesNothing) {
    constexpr int kProcesses = 6;
    for (int round = 0; round < 10; ++round) {
        removeShared();
        std::vector<std::unique_ptr<ChildProcess>> children;
        children.reserve(kProcesses);
        for (int i = 0; i < kProcesses; ++i) {
            children.push_back(std::make_unique<ChildProcess>([i] {
                CRolManager journal;
                EXPECT_EQ(journal.Init(), 0);
                return journal.Message(static_cast<unsigned>(i), new CRolArg(RT_END));
            }));
        }
        for (auto& child : children)
            EXPECT_EQ(child->wait(), 0);
        CRolManager journal;
        join(journal);
        auto all = codes(journal);
        std::sort(all.begin(), all.end());
        EXPECT_EQ(all, upTo(0, kProcesses - 1));
    }
}

TEST_F(Joining, UsesPositionFlagAndDictionariesOfOthers) {
    const RawSegment flag(45, 1);
    const RawSegment counts(59, 26);
    std::vector<std::unique_ptr<RawSegment>> dictionaries;
    for (int i = 0; i < 5; ++i) {
        counts.put<std::uint16_t>(static_cast<std::size_t>(i) * 2, 2);
        dictionaries.push_back(std::make_unique<RawSegment>(71 + i, 16));
        dictionaries.back()->put(8, static_cast<char>('A' + i));  // of the second variable
    }
    flag.put<char>(0, 1);
    CRolManager journal;
    join(journal);
    counts.put<std::uint16_t>(0, 60000);  // what comes later does not count
    const auto shown = [&](int type, int number) {
        EXPECT_EQ(
            journal.MessageWithVar(9, static_cast<signed char>(type), number, new CRolArg(RT_END)),
            0);
        EXPECT_EQ(journal.GoMes(*journal.LastIndex), 0);
        Capture out(STDOUT_FILENO);
        journal.Print();
        return out.text().substr(24);
    };
    for (int type = 1; type <= 5; ++type)
        EXPECT_EQ(shown(type, 2),
                  std::string(1, static_cast<char>('@' + type)) + std::string(24, ' ') + "301/9\n");
    for (const int number : {0, 3, 30000, -1})
        EXPECT_EQ(shown(1, number), "301/9\n") << number;
    char line[10];
    EXPECT_EQ(journal.MakeString(line, sizeof(line)), 9) << "cut";
    EXPECT_EQ(std::strlen(line), 9U);
}

TEST_F(Joining, MapsVariableTypes) {
    for (int type = -2; type < 12; ++type) {
        const auto from = static_cast<signed char>(type);
        const bool same = type == 1 || type == 2 || type == 3 || type == 6 || type == 8;
        EXPECT_EQ(CRolManager::ConvertTypeVar_VskontrToRol2(from), same ? type : -1);
        EXPECT_EQ(CRolManager::ConvertTypeVar_Rol2ToVskontr(from), same ? type : 0);
    }
}

}  // namespace
