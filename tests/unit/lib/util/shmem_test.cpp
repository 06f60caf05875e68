#include "lib/util/shmem.h"

#include "lib/util/cp866_text.h"
#include "lib/util/ipc_objects.h"
#include "tests/support/child_process.h"
#include "tests/support/vesk_path.h"

// A healthy kernel does not produce some failures on request, so the two calls are replaced here.

static int getError, failingGets;  // errno of the next failing shmget calls, how many fail
static int attachError;            // errno of every shmat, 0: none fails

extern "C" int shmget(key_t key, size_t size, int flags) noexcept {
    if (failingGets == 0) return static_cast<int>(syscall(SYS_shmget, key, size, flags));
    --failingGets;
    errno = getError;
    return -1;
}

extern "C" void* shmat(int id, const void* address, int flags) noexcept {
    if (attachError == 0) return reinterpret_cast<void*>(syscall(SYS_shmat, id, address, flags));
    errno = attachError;
    return reinterpret_cast<void*>(-1);
}

constexpr int kJournalIndex = 45;  // "/vskontr" 'd': a key without the generation
constexpr unsigned kCreate = 64;

// Makes the generation's segment as the controller does.
static std::uint8_t* setGeneration(const VeskPath& path, std::uint8_t value) {
    const int id = shmget(path.key("proxy", 'j'), 1, IPC_CREAT | 0777);
    auto* byte = static_cast<std::uint8_t*>(shmat(id, nullptr, 0));
    *byte = value;
    return byte;
}

// ---- Keys ----

// FNV-1a.
template <class Table>
static std::uint64_t digest(const Table& table) {
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
            EXPECT_EQ(ShmKey(c.index, c.debug), path.key(c.file, c.project));
            return 0;
        });
        EXPECT_EQ(child.wait(), 0);
    }
    EXPECT_EQ(ShmKey(-1, 0), -1);
    EXPECT_EQ(ShmKey(kIpcIndexCount, 0), -1);
}

TEST(GetShmidx, TriesAgainUntilItIsAttachedAndThenStays) {
    const VeskPath path;
    ChildProcess child([&] {
        const auto normal = [] { return get_shmidx(kGenerationIpcIndex, ID_mas.data()); };
        std::filesystem::rename(path.file("proxy"), path.file("aside"));
        EXPECT_EQ(normal(), 255);
        std::filesystem::rename(path.file("aside"), path.file("proxy"));
        // Tables are then looked for as if the byte were 255.
        EXPECT_EQ(ShmKey(10, 0), path.key("vskontr", 0x09));

        std::uint8_t* byte = setGeneration(path, 1);
        attachError = ENOMEM;
        EXPECT_EQ(normal(), 255);
        attachError = 0;
        EXPECT_EQ(get_shmidx(kGenerationIpcIndex, Debug_ID_mas.data()), 1);
        *byte = 200;  // the controller goes on to another generation
        EXPECT_EQ(normal(), 200);
        ShmRemove(shmget(path.key("proxy", 'j'), 1, 0));
        setGeneration(path, 3);
        EXPECT_EQ(normal(), 200);
        return 0;
    });
    EXPECT_EQ(child.wait(), 0);
    EXPECT_EQ(child.err(),
              "vs_sem(ftok): No such file or directory\n"
              "idx(shmget): No such file or directory\n"
              "idx(shmat): Cannot allocate memory\n");
}

// ---- Segments ----

TEST(ShmOpen, MakesAttachesAndReleases) {
    const VeskPath path;
    int id = -1, otherId = -1;
    void* const made = ShmOpen(kJournalIndex, 26, kCreate, &id, 0);
    ASSERT_NE(made, nullptr);
    std::memcpy(made, "seen by others", 15);
    ChildProcess other([&] {
        const ShmPtr seen(ShmOpen(kJournalIndex, 15, 0, &otherId, 0));
        EXPECT_STREQ(static_cast<char*>(seen.get()), "seen by others");
        return otherId == id ? 0 : 1;
    });
    EXPECT_EQ(other.wait(), 0);

    EXPECT_EQ(IpcFind(IpcKind::segment, path.key("vskontr", 'd'))->size, 26U);
    EXPECT_EQ(IpcStat(IpcKind::segment, id)->attached, 1U);
    EXPECT_EQ(path.permissions(IpcKind::segment), "777 ");
    EXPECT_EQ(ShmRemove(id), 0);
    EXPECT_EQ(IpcStat(IpcKind::segment, id)->key, IPC_PRIVATE);  // waits for the last detach
    EXPECT_EQ(ShmClose(made), 0);
    EXPECT_EQ(ShmClose(made), -1);
    EXPECT_EQ(ShmClose(nullptr), 0);
    EXPECT_FALSE(IpcStat(IpcKind::segment, id));
}

TEST(ShmOpen, TellsFaultsInTheTextsThatOperatorsKnow) {
    const VeskPath path;
    const std::string inRemovalCp866 = "Инициализация разделяемой памяти\n"_cp866z;
    std::string tenTimes;
    for (int i = 0; i < 10; ++i)
        tenTimes += inRemovalCp866;
    const auto printed = [&](const char* what, int size, int mode) {
        char line[100];
        std::snprintf(line, sizeof line, "Error %s index: 45 key: %#08x len: %d iden=-1 mode=%d\n",
                      what, static_cast<unsigned>(path.key("vskontr", 'd')), size, mode);
        return std::string(line);
    };
    const struct {
        const char* why;
        int getError, failingGets, attachError;
        std::size_t size;
        unsigned mode;
        int id;  // 77: untouched, 0: that of the segment
        std::string out, err;
    } cases[] = {
        {"not there yet", 0, 0, 0, 26, 0, 77, "", ""},
        {"in removal at first, then new", EIDRM, 1, 0, 26, kCreate, 0, inRemovalCp866, ""},
        {"in removal for good", EIDRM, 10, EINVAL, 26, 0, -1, tenTimes,
         "(shmat): Invalid argument"},
        {"too small", 0, 0, 0, 27, 0, 77, printed("EINVAL", 27, 0), "(shmget): Invalid argument"},
        {"not allowed", EACCES, 1, 0, 26, 0, 77, printed("ShmOpen", 26, 0),
         "(shmget): Permission denied"},
        {"missing, though it may be made", ENOENT, 1, 0, 26, kCreate, 77,
         printed("ShmOpen", 26, 64), "(shmget): No such file or directory"},
        {"found, not attached", 0, 0, ENOMEM, 26, 0, 0, "", "(shmat): Cannot allocate memory"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        getError = c.getError;
        failingGets = c.failingGets;
        attachError = c.attachError;
        int id = 77;
        Capture out(STDOUT_FILENO);
        Capture err(STDERR_FILENO);
        const ShmPtr address(ShmOpen(kJournalIndex, c.size, c.mode, &id, 0));
        EXPECT_EQ(address != nullptr, c.id == 0 && c.attachError == 0);
        EXPECT_EQ(out.text(), c.out);
        EXPECT_EQ(err.text(), c.err.empty() ? "" : "ShmOpen" + c.err + "\n");
        failingGets = attachError = 0;
        EXPECT_EQ(id, c.id == 0 ? shmget(path.key("vskontr", 'd'), 0, 0) : c.id);
    }
    std::filesystem::remove(path.file("vskontr"));
    Capture err(STDERR_FILENO);
    EXPECT_EQ(ShmOpen(kJournalIndex, 26, kCreate, nullptr, 0), nullptr);
    EXPECT_EQ(err.text(), "") << "without a key file";
}
