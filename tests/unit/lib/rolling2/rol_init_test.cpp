// Joining: segments, settings, who is the first.

#include "tests/unit/lib/rolling2/journal.h"

class Joining : public JournalTest {
  protected:
    /// The settings' segment up to the path.
    static std::string settingsBytes(unsigned inMemory, unsigned inFile, unsigned intervalMs,
                                     unsigned dictionary) {
        return little(inMemory, 2) + little(inFile, 2) + little(intervalMs, 8) +
               little(dictionary, 8);
    }
    static constexpr std::size_t kPathAt = 20;
};

TEST_F(Joining, TheFirstMakesTheSegmentsAndNobodyRemovesThem) {
    {
        CRolManager first;
        join(first);
        EXPECT_EQ(first.is_already_init(), 0);
        EXPECT_EQ(first.ControllerNumber, 7);
    }
    const std::tuple<int, std::size_t, std::string> segments[] = {
        {50, 120, settingsBytes(20, 10, 1000, 301) + "/dictionaries"},
        {87, 4, little(2, 2) + little(1, 2)},
        {51, 20 * 281, std::string(281, '\0')},
        {54, 1, "\x02"},
        {58, 1, "\x01"},
        {52, 2, ""},
        {53, 2, ""},
        {55, 1, ""},
        {56, 4, ""},
        {57, 1792, ""},
    };
    for (const auto& [index, size, bytes] : segments) {  // the beginning; zeros where it is empty
        SCOPED_TRACE(index);
        const RawSegment raw(index);
        ASSERT_EQ(raw.size(), size);
        const std::string want = bytes.empty() ? std::string(size, '\0') : bytes;
        EXPECT_EQ(raw.text(0, want.size()), want);
    }
    EXPECT_EQ(vesk.permissions(IpcKind::semaphore), "666 ") << "survives its maker";
    EXPECT_EQ(vesk.permissions(IpcKind::segment), "777 777 777 777 777 777 777 777 777 777 777 ");
}

TEST_F(Joining, KeepsWhatIsThereForTheNextOnes) {
    CRolManager first;
    join(first);
    post(first, 1, 3);
    first.SetSaveRol(1);
    settings("[ROLLING]\nMaxNumMessageMemory = 50\n[StartSetup]\nNumber_kontr = 9\n");
    CRolManager second;
    join(second);
    EXPECT_EQ(second.is_already_init(), 1);
    EXPECT_EQ(codes(second), upTo(1, 3));
    EXPECT_EQ(second.GetSaveRol(), 1);
    EXPECT_EQ(second.IniFileSettings->NumMessagesInMemory, 20) << "settings are the first one's";
    EXPECT_EQ(second.ControllerNumber, 9) << "but for the number";

    second.Close();
    EXPECT_EQ(second.GoFirstMes(), -1);
    settings("[ROLLING]\nMaxNumMessageMemory = 20\nSaveTime = 300\n");
    IpcRemove(IpcKind::semaphore, IpcFind(IpcKind::semaphore, SemKey(49))->id);
    join(second);
    EXPECT_EQ(second.is_already_init(), 0) << "without its semaphore the journal begins again";
    EXPECT_EQ(second.GetSaveRol(), 2);
    EXPECT_EQ(second.IniFileSettings->SaveInterval + 0, 300U);
    EXPECT_EQ(codes(second), upTo(1, 3)) << "but for what no file replaces";
}

TEST_F(Joining, TakesSettingsFromTheFileWithinLimits) {
    // clang-format off
    const struct {
        const char* why;
        const char* text;
        unsigned inMemory, inFile, intervalMs, dictionary;
        const char* path = "/dictionaries";
    } cases[] = {
        {"a path, its dictionary", "[ROLLING]\nPath_To_Dictionary=/other\n[SystemDictionary]\nSystemDictionary=302\n", 3000, 250, 1000, 302, "/other"},
        {"more than in memory",    "[ROLLING]\nMaxNumMessageDisk=5000\nMaxNumMessageMemory=1000\nSaveTime=50\n",        1000, 1000, 1000, 301},
        {"not in this section",    "[ROLLING]\nSystemDictionary=302\nMaxNumMessageDisk=50\nSaveTime=100\n",             3000, 50, 100, 301},
        {"too few",                "[ROLLING]\nMaxNumMessageMemory=9\nMaxNumMessageDisk=9\nSaveTime=99\n",              3000, 250, 1000, 301},
        {"most, and no interval",  "[ROLLING]\nMaxNumMessageMemory=65535\nSaveTime=0\n",                                65535, 250, 0, 301},
        {"no numbers of 16 bits",  "[ROLLING]\nMaxNumMessageMemory=65636\nMaxNumMessageDisk=-1\nSaveTime=-5\n",         3000, 250, 1000, 301},
    };
    // clang-format on
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        settings(c.text);
        removeShared();
        CRolManager journal;
        join(journal);
        const RawSegment raw(50);
        EXPECT_EQ(raw.text(0, kPathAt),
                  settingsBytes(c.inMemory, c.inFile, c.intervalMs, c.dictionary));
        EXPECT_STREQ(raw.text(kPathAt, 100).c_str(), c.path);
        EXPECT_EQ(RawSegment(51).size(), c.inMemory * 281U);
    }
}

TEST_F(Joining, CutsALongFolderOfDictionariesButNoPathOfItsFiles) {
    const std::string folder(120, 'd'), fits(82, 'p');
    settings("[ROLLING]\nPath_To_Dictionary=" + folder + "\n");
    for (const std::string& database : {fits, fits + 'p'}) {
        setenv("PATHDB", database.c_str(), 1);
        SRV_Path.InitPathes();
        CRolManager journal;
        join(journal);
        EXPECT_EQ(journal.Rol2Path, database == fits ? fits + "/dat/rolling2.dat" : "");
        EXPECT_EQ(RawSegment(50).text(kPathAt, 100), folder.substr(0, 99) + '\0');
    }
}

TEST_F(Joining, ReportsAMissingSettingsFileOnceAndASegmentThatIsTooSmall) {
    std::filesystem::remove(path("settings/veskkntr.ini"));
    Capture missing(STDOUT_FILENO);
    CRolManager first;
    EXPECT_EQ(first.Init(), 0);
    EXPECT_THAT(
        missing.text(),
        testing::StartsWith("Rolling LIB: Ini-файл "_cp866z + path("settings/veskkntr.ini") +
                            " не найден. Все установки по умолчанию\n"_cp866z));
    EXPECT_EQ(first.IniFileSettings->NumMessagesInMemory, 3000);
    EXPECT_EQ(first.ControllerNumber, 0);
    Capture again(STDOUT_FILENO);
    EXPECT_EQ(CRolManager().Init(), 0);
    EXPECT_EQ(again.text(), "");

    removeShared();
    const RawSegment tooSmall(51, 281);
    // Two processes: the lock is free again behind the first one's failure.
    for (const char* process : {"first", "second"}) {
        ChildProcess joining([] { return CRolManager().Init(); });
        EXPECT_EQ(joining.wait(), 51) << process;
        EXPECT_THAT(joining.out(), testing::EndsWith("ошибка 51 при инициализации (открытие "
                                                     "шаренной памяти)\n"_cp866z));
    }
}

TEST_F(Joining, UsesPositionFlagAndDictionariesOfOthers) {
    const RawSegment flag(45, 1);
    const RawSegment counts(59, 26);
    for (unsigned i = 0; i < 5; ++i) {
        counts.put<std::uint16_t>(i * 2, 2);
        const RawSegment dictionary(71 + static_cast<int>(i), 16);
        dictionary.put(8, static_cast<char>('A' + i));  // the second
        dictionary.put(16, 'Z');                        // no third, though its page goes on
    }
    flag.put<char>(0, 1);
    CRolManager journal;
    join(journal);
    counts.put<std::uint16_t>(0, 60000);  // what comes later does not count
    const auto shown = [&](signed char type, int number) {
        EXPECT_EQ(journal.MessageWithVar(9, type, number, new CRolArg(RT_END)), 0);
        EXPECT_EQ(journal.GoMes(*journal.LastIndex), 0);
        Capture out(STDOUT_FILENO);
        journal.Print();
        return out.text().substr(24);
    };
    for (signed char type = 1; type <= 5; ++type)
        EXPECT_EQ(shown(type, 2),
                  std::string(1, static_cast<char>('@' + type)) + std::string(24, ' ') + "301/9\n");
    for (const int number : {0, 3, 30000, -1})
        EXPECT_EQ(shown(1, number), "301/9\n") << number;
    flag.put<char>(0, 0);
    join(journal);
    EXPECT_EQ(shown(2, 2), "B" + std::string(25, ' ') + "301/9\n");
    char line[10];
    EXPECT_EQ(journal.MakeString(line, sizeof(line)), 9) << "cut";
    EXPECT_EQ(std::strlen(line), 9U);

    std::vector<int> mapped;
    for (signed char type = -1; type < 10; ++type) {
        const int from = CRolManager::ConvertTypeVar_Rol2ToVskontr(type);
        EXPECT_EQ(CRolManager::ConvertTypeVar_VskontrToRol2(type), from != 0 ? from : -1);
        if (from != 0) mapped.push_back(from);
    }
    EXPECT_EQ(mapped, (std::vector<int>{1, 2, 3, 6, 8}));
}
