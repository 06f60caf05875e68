#include "lib/util/vs_sem.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include "lib/util/shmem.h"

namespace {

constexpr unsigned short kOnlySemaphore = 0;

// A signal must not end a wait for the lock: the caller would continue without it.
int change(int id, short by, short flags) {
    sembuf operation{kOnlySemaphore, by, flags};
    int result = 0;
    do {
        result = semop(id, &operation, 1);
    } while (result == -1 && errno == EINTR);
    return result;
}

// Empty for an index outside 0 to 127.
std::string keyFileOf(int index) {
    if (index < 0 || index >= kIpcIndexCount) return {};
    // The environment itself, not SRV_Path, at each call: required by the interface.
    const char* folder = std::getenv("VESKPATH");
    return std::string(folder != nullptr ? folder : "/zrt") +
           ID_mas[static_cast<std::size_t>(index)].file;
}

// ---- The initial value ----

/// Keeps processes from raising a set at the same time, for a scope. The kernel releases it when
/// its holder ends. Without a readable key file it excludes nobody.
class KeyFileLock {
  public:
    explicit KeyFileLock(const std::string& keyFile)
        : file_(open(keyFile.c_str(), O_RDONLY | O_CLOEXEC)) {
        while (file_ != -1 && flock(file_, LOCK_EX) == -1 && errno == EINTR) {
        }
    }
    ~KeyFileLock() {
        if (file_ != -1) close(file_);
    }
    KeyFileLock(const KeyFileLock&) = delete;
    KeyFileLock& operator=(const KeyFileLock&) = delete;

  private:
    int file_;
};

// The caller of semctl declares its fourth argument.
union semun {
    int val;
    semid_ds* buf;
};

// False for a set that is still as semget made it: neither used nor raised.
bool isRaised(int id) {
    semid_ds info{};
    if (semctl(id, kOnlySemaphore, IPC_STAT, semun{.buf = &info}) == -1) return true;  // gone
    return info.sem_otime != 0 || semctl(id, kOnlySemaphore, GETVAL) != 0;
}

// Raising a set twice would admit two processes at a time. Checking it and raising it are two
// operations on the semaphore, hence the lock.
void raiseOnce(int id, const std::string& keyFile) {
    const KeyFileLock lock(keyFile);
    // Without SEM_UNDO: the initial value must outlive the process that sets it.
    if (!isRaised(id)) static_cast<void>(change(id, +1, 0));  // fails for a set that is gone only
}

// If its maker died before it raised the set, everybody would wait forever.
void raiseForDeadMaker(int id, const std::string& keyFile) {
    using Clock = std::chrono::steady_clock;
    constexpr auto kPatience = std::chrono::seconds(1);  // a living maker needs microseconds
    constexpr auto kPause = std::chrono::milliseconds(5);
    const auto end = Clock::now() + kPatience;
    while (!isRaised(id)) {
        if (Clock::now() >= end) return raiseOnce(id, keyFile);
        std::this_thread::sleep_for(kPause);
    }
}

}  // namespace

key_t SemKey(int index) {
    const std::string file = keyFileOf(index);
    if (file.empty()) {
        errno = EINVAL;
        return -1;
    }
    return ftok(file.c_str(), ID_mas[static_cast<std::size_t>(index)].ch);
}

vs_sem::vs_sem(int index, unsigned perm)
    : sem_perm(perm), sem_key(SemKey(index)), keyFile_(keyFileOf(index)) {
    // KEPT: without a key file the set with the key -1 is used; all processes that lack the file
    // share it. Required by the interface.
    if (sem_key == -1) std::perror("vs_sem(ftok)");
    const auto flags = static_cast<int>(perm) | IPC_CREAT;
    id_sem = semget(sem_key, semnum, flags | IPC_EXCL);
    if (id_sem != -1) {
        cr_sem = 1;
        raiseOnce(id_sem, keyFile_);
        return;
    }
    id_sem = semget(sem_key, semnum, flags);
    if (id_sem == -1) {
        std::perror("vs_sem(semget)");
        return;
    }
    raiseForDeadMaker(id_sem, keyFile_);
}

vs_sem::~vs_sem() {
    if (cr_sem != 0 && semctl(id_sem, 0, IPC_RMID) == -1) std::perror("vs_sem(semctl)");
}

void vs_sem::sem_lock() {
    if (change(id_sem, -1, SEM_UNDO) == 0) return;
    // The set is gone. If another process has created it again, that one is the lock now; if not,
    // the processes that used it are ending and there is nothing to wait for.
    const int anew = semget(sem_key, semnum, static_cast<int>(sem_perm));
    if (anew == -1 || anew == id_sem) return;
    id_sem = anew;
    cr_sem = 0;
    raiseForDeadMaker(id_sem, keyFile_);
    static_cast<void>(change(id_sem, -1, SEM_UNDO));  // fails only if it was removed again
}

void vs_sem::sem_unlock() {
    static_cast<void>(change(id_sem, +1, SEM_UNDO));  // as sem_lock
}

int vs_sem::sem_enter() {
    static_cast<void>(change(id_sem, +1, SEM_UNDO));  // GETVAL below shows the result
    return semctl(id_sem, 0, GETVAL);
}

int vs_sem::sem_exit() {
    static_cast<void>(change(id_sem, -1, SEM_UNDO));  // GETVAL below shows the result
    return semctl(id_sem, 0, GETVAL);
}
