#include "lib/util/vs_sem.h"

#include <sys/file.h>

#include <new>

#include "lib/util/ipc_objects.h"
#include "tests/support/child_process.h"
#include "tests/support/vesk_path.h"

namespace {

/// Memory shared by the processes of a test. While it is set, no process raises a set before all
/// others are waiting for it or are about to.
struct Shared {
    std::atomic<unsigned> locked, raising;
};
Shared* meetBeforeRaising = nullptr;
constexpr unsigned kProcesses = 4;

}  // namespace

extern "C" int flock(int file, int operation) noexcept {
    if (meetBeforeRaising != nullptr) ++meetBeforeRaising->locked;
    return static_cast<int>(syscall(SYS_flock, file, operation));
}
extern "C" int semop(int set, sembuf* operations, size_t count) noexcept {
    if (meetBeforeRaising != nullptr && operations->sem_flg == 0) {
        ++meetBeforeRaising->raising;
        waitUntil([] {
            return meetBeforeRaising->locked == kProcesses ||
                   meetBeforeRaising->raising == kProcesses;
        });
    }
    return static_cast<int>(syscall(SYS_semop, set, operations, count));
}

namespace {

constexpr int kIndex = 28;  // "/vskontr" 'a'

int valueOf(const vs_sem& sem, int what = GETVAL) {
    return semctl(sem.id_sem, 0, what);
}

TEST(SemKey, TakesTheRowAsItStandsAndTheEnvironmentOfTheMoment) {
    const VeskPath path;
    EXPECT_EQ(SemKey(0), path.key("proxy", 'a'));
    EXPECT_EQ(SemKey(10), path.key("vskontr", '*'));  // segments of this row follow the generation
    EXPECT_EQ(SemKey(-1), -1);
    EXPECT_EQ(SemKey(128), -1);
    setenv("VESKPATH", (path.folder() / "no").c_str(), 1);
    EXPECT_EQ(SemKey(0), -1);
}

TEST(VsSem, IsRemovedByItsMakerAndCountsUsers) {
    const VeskPath path;
    auto maker = std::make_unique<vs_sem>(kIndex, 0640);
    EXPECT_EQ(maker->is_created(), 1);
    EXPECT_EQ(maker->sem_key, path.key("vskontr", 'a'));
    EXPECT_EQ(maker->sem_enter(), 2);
    EXPECT_EQ(maker->sem_enter(), 3);
    EXPECT_EQ(maker->sem_exit(), 2);
    ChildProcess user([&] {
        vs_sem joined(kIndex, 0640);
        return joined.is_created() == 0 ? joined.sem_enter() : -1;
    });
    EXPECT_EQ(user.wait(), 3);
    EXPECT_EQ(valueOf(*maker), 2) << "a user that died does not count, nor removes it";
    maker.reset();
    EXPECT_EQ(path.objectCount(), 0U);
    ChildProcess killed([] {
        const vs_sem left(kIndex, 0640);
        return raise(SIGKILL);
    });
    EXPECT_EQ(killed.wait(), 128 + SIGKILL);
    EXPECT_EQ(valueOf(vs_sem(kIndex, 0640)), 1) << "the value that it was made with outlives it";
}

TEST(VsSem, LockKeepsOthersOutWhateverSignalsTheyGetAndEndsWithItsHolder) {
    const VeskPath path;
    vs_sem sem(kIndex, 0666);
    ChildProcess holder([] {
        vs_sem joined(kIndex, 0666);
        const SemLock held(joined);
        return pause();
    });
    EXPECT_TRUE(waitUntil([&] { return valueOf(sem) == 0; }));
    ChildProcess waiting([] {
        signal(SIGUSR1, [](int) { static_cast<void>(!write(STDOUT_FILENO, "signal ", 7)); });
        vs_sem joined(kIndex, 0666);
        joined.sem_lock();
        joined.sem_unlock();
        return valueOf(joined);
    });
    const auto isWaiting = [&] { return valueOf(sem, GETNCNT) == 1; };
    EXPECT_TRUE(waitUntil(isWaiting));
#ifndef OPCUASRV_THREAD_SANITIZER  // it holds signals back until semop returns
    kill(waiting.pid(), SIGUSR1);
    EXPECT_TRUE(waitUntil([&] { return !waiting.out().empty(); }));
#endif
    EXPECT_TRUE(waitUntil(isWaiting));
    kill(holder.pid(), SIGKILL);
    EXPECT_EQ(holder.wait(), 128 + SIGKILL);
    EXPECT_EQ(waiting.wait(), 1);
}

TEST(VsSem, IsRaisedOnceWhenItsMakerDiedBefore) {
    const VeskPath path;
    void* const memory =
        mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    meetBeforeRaising = new (memory) Shared{};
    const int left = semget(path.key("vskontr", 'a'), 1, IPC_CREAT | 0666);
    const auto join = [] { return vs_sem(kIndex, 0666).is_created(); };
    std::vector<std::unique_ptr<ChildProcess>> users;
    for (unsigned user = 0; user < kProcesses; ++user)
        users.push_back(std::make_unique<ChildProcess>(join));
    for (auto& user : users)
        EXPECT_EQ(user->wait(), 0);
    EXPECT_EQ(semctl(left, 0, GETVAL), 1);
    meetBeforeRaising = nullptr;
}

TEST(VsSem, LocksTheSetThatAnotherMadeAnewAndReportsWhatIsMissing) {
    const VeskPath path;
    Capture err(STDERR_FILENO);
    {
        vs_sem former(kIndex, 0666);
        EXPECT_EQ(IpcRemove(IpcKind::semaphore, former.id_sem), 0);
        former.sem_lock();  // nobody to be kept out: does not wait
        EXPECT_EQ(former.sem_enter(), -1);
        EXPECT_EQ(former.sem_exit(), -1);
        const vs_sem anew(kIndex, 0666);
        former.sem_unlock();
        EXPECT_EQ(valueOf(anew), 1) << "what was not taken is not given back";
        former.sem_lock();
        EXPECT_EQ(valueOf(anew), 0);
        EXPECT_EQ(former.is_created(), 0) << "not its maker";
        IpcRemove(IpcKind::semaphore, anew.id_sem);  // its maker finds it gone
    }
    std::filesystem::remove(path.file("vskontr"));
    EXPECT_NE(vs_sem(kIndex, 0666).id_sem, -1) << "goes on with the key -1";
    EXPECT_EQ(err.text(),
              "vs_sem(semctl): Invalid argument\nvs_sem(ftok): No such file or directory\n");
}

}  // namespace
