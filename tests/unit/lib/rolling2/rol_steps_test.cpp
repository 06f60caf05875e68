// What happens between two steps: a process ends, or another one is quicker. Replaces some
// functions of the C library, and is therefore a program of its own.
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sched.h>

#include <cstdarg>

#include "tests/unit/lib/rolling2/journal.h"

namespace {

int callsLeft = -1;  ///< until the process is killed; negative: not at all
/// The writer's priority, its thread and what signals that has blocked.
int lastNice = 0;
pthread_t niceThread{};
sigset_t niceSignals{};
int syncsLeft = -1, syncError = 0;  ///< calls of fsync and fdatasync until one fails with this
bool noThread = false;
std::atomic<bool> writerIsHeld = false;

void step() {
    if (callsLeft >= 0 && callsLeft-- == 0) kill(getpid(), SIGKILL);
}

template <class Function>
Function* real(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

int synchronise(const char* name, int file) {
    step();
    if (syncsLeft < 0 || syncsLeft-- != 0) return real<int(int)>(name)(file);
    errno = syncError;
    return -1;
}

}  // namespace

// Before each of them something is on the disk or in shared memory, and the next thing is not.
// NOLINTBEGIN(bugprone-macro-parentheses): types and lists of parameters
#define STEP(Result, name, parameters, arguments, exception) \
    extern "C" Result name parameters exception {            \
        step();                                              \
        return real<Result parameters>(#name) arguments;     \
    }
STEP(int, shmget, (key_t key, size_t size, int flags), (key, size, flags), noexcept)
STEP(void*, shmat, (int id, const void* address, int flags), (id, address, flags), noexcept)
STEP(int, semop, (int set, sembuf* operations, size_t count), (set, operations, count), noexcept)
STEP(int, unlink, (const char* path), (path), noexcept)
STEP(std::FILE*, fopen, (const char* path, const char* mode), (path, mode), )
STEP(int, fflush, (std::FILE * file), (file), )
STEP(ssize_t, write, (int file, const void* bytes, size_t size), (file, bytes, size), )
#undef STEP
// NOLINTEND(bugprone-macro-parentheses)

extern "C" {
int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*),
                   void* argument) noexcept {
    if (noThread) return EAGAIN;
    using Create = int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    // A sanitizer has one of its own before the C library's, and has to know of the thread.
    void* const sanitizers = dlsym(RTLD_DEFAULT, "__interceptor_pthread_create");
    Create* const create = sanitizers != nullptr ? reinterpret_cast<Create*>(sanitizers)
                                                 : real<Create>("pthread_create");
    return create(thread, attributes, run, argument);
}
int fsync(int file) {
    return synchronise("fsync", file);
}
int fdatasync(int file) {
    return synchronise("fdatasync", file);
}
int open(const char* path, int flags, ...) {
    step();
    va_list rest;
    va_start(rest, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return real<int(const char*, int, ...)>("open")(path, flags, mode);
}
int setpriority(__priority_which_t which, id_t who, int nice) noexcept {
    niceThread = pthread_self();
    pthread_sigmask(SIG_SETMASK, nullptr, &niceSignals);
    while (writerIsHeld)
        sched_yield();
    lastNice = which == PRIO_PROCESS && who == 0 ? nice : 0;
    return 0;
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
    /// Acts as the controller's saver: loads, saves twice, then saves again, and dies during that.
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

// ---- Saving ------------------------------------------------------------------------------------

class SavingSteps : public JoinedJournal {
  protected:
    SavingSteps() {
        journal.SetSaveRol(1);
        post(journal, 1, 1);
    }
};

TEST_F(SavingSteps, TheWriterIsAThreadOfLowerPriorityThatTakesNoSignal) {
    ASSERT_EQ(journal.ForceSave(), 0);
    EXPECT_EQ(lastNice, 10);
    EXPECT_FALSE(pthread_equal(niceThread, pthread_self()));
    sigset_t own;
    pthread_sigmask(SIG_SETMASK, nullptr, &own);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGALRM, SIGUSR1, SIGCHLD, SIGRTMIN}) {
        EXPECT_TRUE(sigismember(&niceSignals, signal)) << signal;
        EXPECT_FALSE(sigismember(&own, signal)) << signal;
    }
    writerIsHeld = true;
    for (unsigned code = 2; code < 4; ++code) {
        post(journal, code, code);
        EXPECT_EQ(journal.Save(), 0) << "does not wait for the save before";
    }
    writerIsHeld = false;
}

TEST_F(SavingSteps, WhatTheDiskDidNotTakeDoesNotCountAsWhole) {
    for (const auto& [error, result] :
         {std::pair(EIO, 11), {ENOSPC, 11}, {EINVAL, 0}, {EROFS, 0}}) {
        for (int call = 0; call < 4; ++call) {  // two of each file
            SCOPED_TRACE(std::to_string(error) + " at " + std::to_string(call));
            ASSERT_EQ(journal.SaveMainRolling(), 0);
            syncError = error;
            syncsLeft = call;
            Capture out(STDOUT_FILENO);
            EXPECT_EQ(journal.SaveMainRolling(), result);
            EXPECT_EQ(exists(kCrc[main]), result == 0);
            const std::string complaint = "Rolling LIB: ошибка записи файла "_cp866z +
                                          path(call < 2 ? kMessages[main] : kCounters[main]) +
                                          " на диск, копия не считается целой\n"_cp866z;
            EXPECT_EQ(out.text(), result == 0 ? "" : complaint);
        }
    }
}

TEST_F(SavingSteps, WithoutAThreadNothingIsKeptForALaterSave) {
    noThread = true;
    EXPECT_EQ(journal.ForceSave(), 10);
    noThread = false;
    journal.SetSaveRol(2);
    EXPECT_EQ(journal.ForceSave(), 0);
    EXPECT_EQ(files(), "000000");
    journal.SetSaveRol(1);
    EXPECT_EQ(journal.Save(), 0);
    journal.Close();
    EXPECT_EQ(files(), "000111") << "still new, and it is the reserve's turn";
}

// ---- Posting and joining -----------------------------------------------------------------------

class BetweenSteps : public JournalTest {};

TEST_F(BetweenSteps, WhoEndsInsideARecordLeavesTheOthersWhole) {
    constexpr std::size_t kPage = 4096;
    static_assert(14 * 281 < kPage && 15 * 281 > kPage, "slot 14 lies on two pages");
    CRolManager journal;
    join(journal);
    post(journal, 1, 33);  // the newest is in slot 13, the oldest in slot 14
    const auto endsAtThePage = [&journal] {
        auto* const ring = reinterpret_cast<char*>(journal.Messages);
        EXPECT_EQ(mprotect(ring + kPage, kPage, PROT_READ), 0);
    };
    ChildProcess poster([&] {
        endsAtThePage();
        return journal.Message(34, new CRolArg(RT_END));
    });
    EXPECT_NE(poster.wait(), 0);
    EXPECT_EQ(codes(journal), upTo(15, 33)) << "without the one whose slot was being filled";
    post(journal, 34, 34);
    EXPECT_EQ(codes(journal), upTo(15, 34));

    write(kMessages[main], messagesFile(41, 60));
    ChildProcess loader([&] {
        endsAtThePage();
        return journal.Load();
    });
    EXPECT_NE(loader.wait(), 0);
    EXPECT_TRUE(codes(journal).empty());
    join(journal);
    EXPECT_EQ(codes(journal), upTo(41, 60)) << "from the files, which were not yet erased";
}

TEST_F(BetweenSteps, WhateverDiesWhileItMakesTheJournalTheNextOneMakesItWhole) {
    const std::string asSaved = little(20, 2) + little(10, 2) + little(1000, 8) + little(301, 8);
    const auto expectWhole = [&] {
        CRolManager journal;
        join(journal);
        EXPECT_EQ(codes(journal), upTo(4, 6));
        EXPECT_EQ(journal.GetCounter(7), 3U);
        EXPECT_EQ(RawSegment(50).text(0, 33), asSaved + "/dictionaries");
        EXPECT_EQ(RawSegment(51).size(), 20 * 281U);
        EXPECT_EQ(RawSegment(87).text(0, 4), little(2, 2) + little(1, 2));
        EXPECT_EQ(RawSegment(54).text(0, 1) + RawSegment(58).text(0, 1), "\x02\x01");
    };
    const auto writeFiles = [&] {
        write(kMessages[main], messagesFile(4, 6));
        write(kCounters[main], std::string(32, '\0'));
    };
    int calls = 0;
    for (bool isWhole = false; !isWhole; ++calls) {
        SCOPED_TRACE(calls);
        ASSERT_LT(calls, 200);
        removeShared();
        writeFiles();
        ChildProcess first([calls] {
            callsLeft = calls;
            return CRolManager().Init();
        });
        isWhole = first.wait() == 0;
        expectWhole();
    }
    EXPECT_GE(calls, 40) << "every step was met";

    // Between two bytes of the settings, filled by this library and by another.
    for (const std::string& settings : {little(0, 2) + asSaved.substr(2), asSaved.substr(0, 2)}) {
        writeFiles();
        for (std::size_t at = 0; at < 20; ++at)
            RawSegment(50).put(at, at < settings.size() ? settings[at] : '\0');
        RawSegment(52).put<std::uint16_t>(0, 0);
        this->settings("[ROLLING]\nMaxNumMessageDisk=10\n");  // a ring that is there stays as it is
        expectWhole();
    }
}

}  // namespace
