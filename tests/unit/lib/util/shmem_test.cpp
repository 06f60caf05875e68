#include "lib/util/shmem.h"

#include <gtest/gtest.h>
#include <sys/ipc.h>
#include <sys/shm.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <filesystem>
#include <span>
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

// FNV-1a.
template <class Table>
std::uint64_t digest(const Table& table) {
    std::uint64_t hash = 0xcbf29ce484222325;
    for (const std::byte byte : std::as_bytes(std::span(table)))
        hash = (hash ^ std::to_integer<std::uint64_t>(byte)) * 0x100000001b3;
    return hash;
}

TEST(KeyTables, AreTheControllersByteForByte) {
    // Computed apart from this code, over the tables that the controller's programs share.
    EXPECT_EQ(digest(ID_mas), 0x70f21733334d8c0e);
    EXPECT_EQ(digest(Debug_ID_mas), 0x46d5cd7b4077adc2);
    EXPECT_EQ(digest(symb), 0x32d3bfc5f263bad8);
}

TEST(ShmKey, FollowsTheGenerationWhereTheTableSaysSo) {
    const VeskPath path;
    const struct {
        const char* why;
        int index;
        char debug;
        const char* file;
        unsigned char project;
        std::uint8_t generation = 0;
    } cases[] = {
        {"a fixed row", 43, 0, "sim", 'h', 9},
        {"debug has another file and character", 29, 1, "cm", 'k'},
        {"table position = index", 10, 0, "vskontr", 0x0A},
        {"index and generation add up", 59, 0, "vskontr", 0xD9, 5},
        {"the sum wraps at 256", 59, 0, "vskontr", 0x03, 200},
        {"generations are bytes, not signed", 10, 0, "vskontr", 0xB4, 0x90},
        {"debug moves the database tables", 10, 1, "cm", 0x0A},
        {"and leaves the counts", 59, 1, "vskontr", 0xD4},
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
    EXPECT_EQ(ShmKey(-1, 0), -1);
    EXPECT_EQ(ShmKey(kIpcIndexCount, 0), -1);
}

// ---- Generation ----

TEST(GetShmidx, TriesAgainUntilItIsAttachedAndThenStays) {
    const VeskPath path;
    ChildProcess child([&] {
        std::filesystem::rename(path.file("proxy"), path.file("aside"));
        EXPECT_EQ(get_shmidx(kGenerationIpcIndex, ID_mas.data()), 255);
        std::filesystem::rename(path.file("aside"), path.file("proxy"));
        EXPECT_EQ(get_shmidx(kGenerationIpcIndex, ID_mas.data()), 255);
        // Tables are then looked for as if the byte were 255.
        EXPECT_EQ(ShmKey(10, 0), path.key("vskontr", 0x09));

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
    EXPECT_EQ(child.err(),
              "vs_sem(ftok): No such file or directory\n"
              "idx(shmget): No such file or directory\n"
              "idx(shmget): No such file or directory\n");
}

// ---- Segments ----

TEST(ShmOpen, MakesAttachesAndReleases) {
    const VeskPath path;
    int id = -1;
    void* const made = ShmOpen(kJournalIndex, 26, kCreate, &id, 0);
    ASSERT_NE(made, nullptr);
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

TEST(ShmOpen, TellsOfASegmentTooSmallAndNothingOfOneNotThereYet) {
    const VeskPath path;
    Capture out(STDOUT_FILENO);
    Capture err(STDERR_FILENO);
    int id = 77;
    EXPECT_EQ(ShmOpen(kJournalIndex, 26, 0, &id, 0), nullptr);
    const ShmPtr made(ShmOpen(kJournalIndex, 26, kCreate, nullptr, 0));
    EXPECT_NE(made, nullptr);
    EXPECT_EQ(ShmOpen(kJournalIndex, 27, 0, &id, 0), nullptr);
    EXPECT_EQ(ShmOpen(kJournalIndex, 100000, kCreate, &id, 0), nullptr);
    char line[80];
    std::snprintf(line, sizeof line, "Error EINVAL index: 45 key: %#08x len: ",
                  static_cast<unsigned>(path.key("vskontr", 'd')));
    std::filesystem::remove(path.file("vskontr"));
    EXPECT_EQ(ShmOpen(kJournalIndex, 26, kCreate, &id, 0), nullptr);
    EXPECT_EQ(id, 77);
    EXPECT_EQ(out.text(),
              std::string(line) + "27 iden=-1 mode=0\n" + line + "100000 iden=-1 mode=64\n");
    EXPECT_EQ(err.text(), "ShmOpen(shmget): Invalid argument\nShmOpen(shmget): Invalid argument\n");
}

}  // namespace
