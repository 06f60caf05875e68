#include "lib/util/shmem.h"

#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>

#include "lib/util/ipc_objects.h"
#include "support/capture.h"
#include "support/child_process.h"
#include "support/vesk_path.h"

namespace {

constexpr int kJournalIndex = 45;  // "/vskontr" 'd': a key without the generation
constexpr unsigned kCreate = 64;

// Makes the generation's segment as the controller does.
std::uint8_t* setGeneration(const VeskPath& path, std::uint8_t value) {
    const int id = shmget(path.key("proxy", 'j'), 1, IPC_CREAT | 0777);
    auto* byte = static_cast<std::uint8_t*>(shmat(id, nullptr, 0));
    *byte = value;
    return byte;
}

// ---- Keys ----

TEST(ShmKey, FixedRowsNameTheFileAndCharacterOfTheController) {
    const VeskPath path;
    const struct {
        const char* file;
        int index;
        char debug;
        unsigned char project;
    } cases[] = {
        {"proxy", 0, 0, 'a'},    {"proxy", 1, 0, 'b'},    {"proxy", 3, 0, 'c'},
        {"proxy", 4, 0, 'b'},    {"proxy", 5, 0, 'e'},    {"proxy", 9, 0, 'i'},
        {"vskontr", 28, 0, 'a'}, {"vskontr", 29, 0, 'b'}, {"vskontr", 32, 0, 'c'},
        {"rezerv", 33, 0, 'a'},  {"udpvesk", 35, 0, 'a'}, {"sim", 36, 0, 'a'},
        {"sim", 43, 0, 'h'},     {"sigsim", 44, 0, 'a'},  {"vskontr", 45, 0, 'd'},
        {"vskontr", 46, 0, 'e'}, {"proxy", 48, 0, 'j'},   {"sim", 90, 0, 'j'},
        {"proxy", 1, 1, 'b'},    {"cm", 3, 1, 'c'},       {"cm", 9, 1, 'i'},
        {"vskontr", 28, 1, 'a'}, {"cm", 29, 1, 'k'},      {"cm", 32, 1, 'l'},
        {"show", 33, 1, 'a'},    {"show", 35, 1, 'c'},    {"sim", 38, 1, 'c'},
        {"show", 40, 1, 'd'},    {"sim", 42, 1, 'g'},     {"sim", 43, 1, 'h'},
        {"vskontr", 45, 1, 'd'}, {"sim", 90, 1, 'j'},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(ShmKey(c.index, c.debug), path.key(c.file, c.project))
            << c.index << " debug " << int{c.debug};
    }
    for (const int index : {91, 127}) {
        EXPECT_STREQ(ID_mas[static_cast<std::size_t>(index)].file, "");
        EXPECT_STREQ(Debug_ID_mas[static_cast<std::size_t>(index)].file, "");
    }
    EXPECT_EQ(ShmKey(-1, 0), -1);
    EXPECT_EQ(ShmKey(kIpcIndexCount, 0), -1);
    EXPECT_EQ(errno, EINVAL);
}

TEST(ShmKey, StarRowsFollowTheGeneration) {
    const VeskPath path;
    const struct {
        const char* why;
        const char* file;
        int index;
        char debug;
        std::uint8_t generation;
        unsigned char project;
    } cases[] = {
        {"table position = index", "vskontr", 10, 0, 0, 0x0A},
        {"last database table", "vskontr", 27, 0, 0, 0x42},
        {"index and generation add up", "vskontr", 59, 0, 5, 0xD9},
        {"the sum wraps at 256", "vskontr", 59, 0, 200, 0x03},
        {"time-quality-flags table", "vskontr", 85, 0, 1, 0x2F},
        {"low generations are bytes, not signed", "vskontr", 10, 0, 0x90, 0xB4},
        {"file of row 2", "proxy", 2, 0, 3, 0x05},
        {"first and last of a run", "proxy", 49, 0, 0, 0x3E},
        {"first and last of a run", "proxy", 58, 0, 0, 0xD3},
        {"row between two files", "cm", 76, 0, 0, 0x73},
        {"row after it", "proxy", 77, 0, 0, 0x74},
        {"row 82 lies alone", "vskontr", 82, 0, 0, 0x2B},
        {"row 87", "proxy", 87, 0, 0, 0x30},
        {"debug moves the database tables", "cm", 10, 1, 0, 0x0A},
        {"debug leaves the counts", "vskontr", 59, 1, 0, 0xD4},
        {"debug moves row 60", "cm", 60, 1, 0, 0xD5},
        {"debug leaves row 65", "proxy", 65, 1, 0, 0xDA},
        {"debug moves row 70", "cm", 70, 1, 0, 0xB8},
        {"debug leaves row 71", "vskontr", 71, 1, 0, 0x6E},
        {"debug moves row 86", "cm", 86, 1, 0, 0x2F},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        ChildProcess child([&] {
            setGeneration(path, c.generation);
            EXPECT_EQ(ShmKey(c.index, c.debug), path.key(c.file, c.project)) << c.index;
            return 0;
        });
        EXPECT_EQ(child.wait(), 0);
        EXPECT_EQ(child.err(), "");
    }
}

TEST(Symb, NeverMeetsTheCharactersOfFixedRows) {
    // 'a' to 'm' belong to rows with a fixed key; every other value occurs, two runs of them twice.
    for (unsigned value = 0; value < symb.size(); ++value) {
        const bool isFixed = value >= 'a' && value <= 'm';
        const bool isTwice = (value >= 0xD3 && value <= 0xDC) || (value >= 0xB6 && value <= 0xB8);
        EXPECT_EQ(std::count(symb.begin(), symb.end(), value), isFixed   ? 0
                                                               : isTwice ? 2
                                                                         : 1)
            << value;
    }
}

// ---- Generation ----

TEST(GetShmidx, TellsTheFailingStepAndTriesAgain) {
    const VeskPath path;
    ChildProcess child([&] {
        std::filesystem::rename(path.file("proxy"), path.file("aside"));
        EXPECT_EQ(get_shmidx(kGenerationIpcIndex, ID_mas.data()), 255);
        std::filesystem::rename(path.file("aside"), path.file("proxy"));
        EXPECT_EQ(get_shmidx(kGenerationIpcIndex, ID_mas.data()), 255);
        // Tables are then looked for as if the byte were 255.
        EXPECT_EQ(ShmKey(10, 0), path.key("vskontr", 0x09));
        setGeneration(path, 7);
        EXPECT_EQ(get_shmidx(kGenerationIpcIndex, ID_mas.data()), 7);
        return 0;
    });
    EXPECT_EQ(child.wait(), 0);
    EXPECT_EQ(child.err(),
              "vs_sem(ftok): No such file or directory\n"
              "idx(shmget): No such file or directory\n"
              "idx(shmget): No such file or directory\n");
}

TEST(GetShmidx, StaysAttachedToTheFirstByteFound) {
    const VeskPath path;
    ChildProcess child([&] {
        std::uint8_t* byte = setGeneration(path, 1);
        EXPECT_EQ(get_shmidx(kGenerationIpcIndex, Debug_ID_mas.data()), 1);
        *byte = 200;  // the controller goes on to another generation
        EXPECT_EQ(get_shmidx(kGenerationIpcIndex, ID_mas.data()), 200);
        EXPECT_EQ(get_shmidx(kJournalIndex, ID_mas.data()), 200);
        ShmRemove(shmget(path.key("proxy", 'j'), 1, 0));
        setGeneration(path, 3);
        EXPECT_EQ(get_shmidx(kGenerationIpcIndex, ID_mas.data()), 200);
        return 0;
    });
    EXPECT_EQ(child.wait(), 0);
    EXPECT_EQ(child.err(), "");
}

// ---- Segments ----

TEST(ShmOpen, MakesAttachesAndReleases) {
    const VeskPath path;
    int id = -1;
    void* const made = ShmOpen(kJournalIndex, 26, kCreate, &id, 0);
    ASSERT_NE(made, nullptr);
    EXPECT_EQ(std::string(static_cast<char*>(made), 26), std::string(26, '\0'));
    std::memcpy(made, "seen by others", 15);

    ChildProcess other([] {
        int otherId = -1;
        const ShmPtr seen(ShmOpen(kJournalIndex, 15, 0, &otherId, 0));
        if (seen == nullptr) return 1;
        EXPECT_STREQ(static_cast<char*>(seen.get()), "seen by others");
        // Two by the fork, one by ShmOpen.
        EXPECT_EQ(IpcStat(IpcKind::segment, otherId)->attached, 3U);
        return 0;
    });
    EXPECT_EQ(other.wait(), 0);

    const auto segment = IpcFind(IpcKind::segment, path.key("vskontr", 'd'));
    ASSERT_TRUE(segment);
    EXPECT_EQ(segment->id, id);
    EXPECT_EQ(segment->size, 26U);
    EXPECT_EQ(segment->creatorPid, getpid());
    EXPECT_EQ(segment->attached, 1U);
    shmid_ds settings{};
    ASSERT_EQ(shmctl(id, IPC_STAT, &settings), 0);
    EXPECT_EQ(settings.shm_perm.mode & 0777, 0777);

    EXPECT_EQ(ShmRemove(id), 0);
    EXPECT_EQ(IpcStat(IpcKind::segment, id)->key, IPC_PRIVATE);  // waits for the last detach
    EXPECT_EQ(ShmClose(made), 0);
    EXPECT_EQ(ShmClose(made), -1);
    EXPECT_EQ(ShmClose(nullptr), 0);
    EXPECT_FALSE(IpcStat(IpcKind::segment, id));
}

TEST(ShmOpen, IsSilentAboutWhatIsNotThereYet) {
    const VeskPath path;
    Capture out(STDOUT_FILENO);
    Capture err(STDERR_FILENO);
    int id = 77;
    EXPECT_EQ(ShmOpen(kJournalIndex, 26, 0, &id, 0), nullptr);
    std::filesystem::remove(path.file("vskontr"));
    EXPECT_EQ(ShmOpen(kJournalIndex, 26, kCreate, &id, 0), nullptr);
    EXPECT_EQ(ShmOpen(kJournalIndex, 26, kCreate, nullptr, 0), nullptr);
    EXPECT_EQ(id, 77);
    EXPECT_EQ(out.text() + err.text(), "");
}

TEST(ShmOpen, ReportsASegmentThatIsTooSmall) {
    const VeskPath path;
    const ShmPtr made(ShmOpen(kJournalIndex, 26, kCreate, nullptr, 0));
    ASSERT_NE(made, nullptr);
    int id = 77;
    Capture out(STDOUT_FILENO);
    Capture err(STDERR_FILENO);
    EXPECT_EQ(ShmOpen(kJournalIndex, 27, 0, &id, 0), nullptr);
    EXPECT_EQ(ShmOpen(kJournalIndex, 100000, kCreate, &id, 0), nullptr);
    char key[16];
    std::snprintf(key, sizeof key, "%#08x", static_cast<unsigned>(path.key("vskontr", 'd')));
    const std::string line = std::string("Error EINVAL index: 45 key: ") + key;
    EXPECT_EQ(out.text(),
              line + " len: 27 iden=-1 mode=0\n" + line + " len: 100000 iden=-1 mode=64\n");
    EXPECT_EQ(err.text(), "ShmOpen(shmget): Invalid argument\nShmOpen(shmget): Invalid argument\n");
    EXPECT_EQ(id, 77);
}

}  // namespace
