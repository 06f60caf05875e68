// What happens between two steps: a process ends, another one comes first. Answers some calls of
// the C library itself, and so stands alone.
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/sem.h>

#include <cstdarg>
#include <functional>
#include <utility>

#include "journal.h"

namespace {

/// Calls of the writer until it is killed; negative: not at all.
int callsLeft = -1;
/// What the process was told of its priority last, and by which thread.
int lastNice = 0;
pthread_t niceThread{};

/// Run once, before this process takes the journal's lock.
std::function<void()> beforeLock;

void step() {
    if (callsLeft >= 0 && callsLeft-- == 0) kill(getpid(), SIGKILL);
}

template <class Function>
Function* real(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// Before each of them something of the save is on the disk, and the next thing is not.
extern "C" {
std::FILE* fopen(const char* path, const char* mode) {
    step();
    return real<std::FILE*(const char*, const char*)>("fopen")(path, mode);
}
int fflush(std::FILE* file) {
    step();
    return real<int(std::FILE*)>("fflush")(file);
}
int fsync(int file) {
    step();
    return real<int(int)>("fsync")(file);
}
int open(const char* path, int flags, ...) {
    step();
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return real<int(const char*, int, ...)>("open")(path, flags, mode);
}
int semop(int set, sembuf* operations, size_t count) noexcept {
    if (beforeLock && operations->sem_op < 0) std::exchange(beforeLock, nullptr)();
    return real<int(int, sembuf*, size_t)>("semop")(set, operations, count);
}
int setpriority(__priority_which_t which, id_t who, int nice) noexcept {
    niceThread = pthread_self();
    lastNice = which == PRIO_PROCESS && who == 0 ? nice : 0;
    return 0;
}
ssize_t write(int file, const void* bytes, size_t size) {
    step();
    return real<ssize_t(int, const void*, size_t)>("write")(file, bytes, size);
}
}

namespace {

class KilledSaver : public JournalTest {
  protected:
    KilledSaver() { settings("[ROLLING]\nMaxNumMessageMemory=200\nMaxNumMessageDisk=200\n"); }

    static void postTexts(CRolManager& journal, unsigned from, unsigned to) {
        // So that a file is longer than the buffer it goes through.
        const std::string text(200, 'x');
        for (unsigned code = from; code <= to; ++code)
            ASSERT_EQ(journal.Message(code, new CRolArg(text.c_str()), new CRolArg(RT_END)), 0);
    }
    /// What the controller's saver does: load, save twice, then save again, and die in that.
    /// @return true when the save was whole
    static bool saveAndDie(int saves, int calls) {
        ChildProcess saver([saves, calls] {
            CRolManager journal;
            EXPECT_EQ(journal.Init(), 0);
            journal.SetSaveRol(1);
            for (int save = 1; save <= saves; ++save) {
                const auto code = static_cast<unsigned>(save) * 30;
                postTexts(journal, code - 29, code);
                if (save == saves) callsLeft = calls;
                EXPECT_EQ(journal.ForceSave(), 0);
            }
            return 0;
        });
        return saver.wait() == 0;
    }
};

TEST_F(KilledSaver, LeavesAWholeCopyFromTheSecondSaveOn) {
    for (const int saves : {2, 3, 4}) {
        int calls = 0;
        bool isWhole = false;
        for (; !isWhole; ++calls) {
            SCOPED_TRACE("save " + std::to_string(saves) + ", call " + std::to_string(calls));
            ASSERT_LT(calls, 50);
            isWhole = saveAndDie(saves, calls);
            removeShared();  // the power is gone with it
            CRolManager journal;
            join(journal);
            const auto ring = codes(journal);
            ASSERT_FALSE(ring.empty());
            const unsigned before = static_cast<unsigned>(saves - 1) * 30;
            EXPECT_TRUE(ring.back() == before || ring.back() == before + 30) << ring.back();
            EXPECT_EQ(ring, upTo(1, ring.back()));
            EXPECT_TRUE(!isWhole || ring.back() == before + 30);
            journal.EraseRollingFiles();
            journal.Close();
            removeShared();
        }
        EXPECT_GE(calls, 10) << "every step was met";
    }
}

TEST_F(KilledSaver, WritesAtALowerPriorityInAThreadOfItsOwn) {
    CRolManager journal;
    join(journal);
    journal.SetSaveRol(1);
    postTexts(journal, 1, 1);
    ASSERT_EQ(journal.ForceSave(), 0);
    EXPECT_EQ(lastNice, 10);
    EXPECT_FALSE(pthread_equal(niceThread, pthread_self()));
}

// ---- Posting and joining -----------------------------------------------------------------------

class BetweenSteps : public JournalTest {};

TEST_F(BetweenSteps, APosterThatEndsInsideARecordLeavesTheOthersWhole) {
    constexpr std::size_t kPage = 4096;
    static_assert(14 * 281 < kPage && 15 * 281 > kPage, "slot 14 lies on two pages");
    CRolManager journal;
    join(journal);
    post(journal, 1, 33);  // the newest is in slot 13, the oldest in slot 14
    ChildProcess poster([&journal] {
        auto* const ring = reinterpret_cast<char*>(journal.Messages);
        EXPECT_EQ(mprotect(ring + kPage, kPage, PROT_READ), 0);
        return journal.Message(34, new CRolArg(RT_END));
    });
    EXPECT_NE(poster.wait(), 0);
    EXPECT_EQ(codes(journal), upTo(15, 33)) << "without the one whose slot was being filled";
    post(journal, 34, 34);
    EXPECT_EQ(codes(journal), upTo(15, 34));
}

TEST_F(BetweenSteps, AProcessThatTakesTheLockBeforeTheFirstOneIsNotOverwritten) {
    write(kMessages[main], messagesFile(1, 3));
    write(kCounters[main], std::string(64, '\0'));
    beforeLock = [] {
        ChildProcess quicker([] {
            CRolManager journal;
            EXPECT_EQ(journal.Init(), 0);
            EXPECT_EQ(journal.is_already_init(), 1);
            return journal.Message(4, new CRolArg(RT_END));
        });
        EXPECT_EQ(quicker.wait(), 0);
    };
    CRolManager journal;
    join(journal);
    EXPECT_EQ(journal.is_already_init(), 0);
    EXPECT_EQ(codes(journal), upTo(1, 4));
}

}  // namespace
