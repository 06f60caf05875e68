#include "lib/util/vs_sem.h"

#include <sys/ipc.h>
#include <sys/sem.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "lib/util/shmem.h"

namespace {

constexpr unsigned short kOnlySemaphore = 0;

// A signal must not end a wait for the lock: the caller would go on without it.
int change(int id, short by, short flags) {
    sembuf operation{kOnlySemaphore, by, flags};
    int result = 0;
    do {
        result = semop(id, &operation, 1);
    } while (result == -1 && errno == EINTR);
    return result;
}

}  // namespace

key_t SemKey(int index) {
    if (index < 0 || index >= kIpcIndexCount) {
        errno = EINVAL;
        return -1;
    }
    // The environment itself, not SRV_Path: the controller's other programs look here each time.
    const char* folder = std::getenv("VESKPATH");
    const ID_struct& row = ID_mas[static_cast<std::size_t>(index)];
    const std::string file = std::string(folder != nullptr ? folder : "/zrt") + row.file;
    return ftok(file.c_str(), row.ch);
}

vs_sem::vs_sem(int index, unsigned perm) : sem_perm(perm), sem_key(SemKey(index)) {
    // KEPT: without a key file the set of key -1 is used; all processes that lack the file share
    // it.
    if (sem_key == -1) std::perror("vs_sem(ftok)");
    const auto flags = static_cast<int>(perm) | IPC_CREAT;
    id_sem = semget(sem_key, semnum, flags | IPC_EXCL);
    if (id_sem != -1) {
        cr_sem = 1;
        // Without SEM_UNDO: the initial value must outlive its maker.
        static_cast<void>(change(id_sem, +1, 0));  // cannot fail on a set just made
        return;
    }
    id_sem = semget(sem_key, semnum, flags);
    if (id_sem == -1) std::perror("vs_sem(semget)");
}

vs_sem::~vs_sem() {
    if (cr_sem != 0 && semctl(id_sem, 0, IPC_RMID) == -1) std::perror("vs_sem(semctl)");
}

void vs_sem::sem_lock() {
    if (change(id_sem, -1, SEM_UNDO) == 0) return;
    // The set is gone. Where another process has made it anew, that one keeps its users apart;
    // without one, its former users are ending and nothing is left to wait for.
    const int anew = semget(sem_key, semnum, static_cast<int>(sem_perm));
    if (anew == -1 || anew == id_sem) return;
    id_sem = anew;
    cr_sem = 0;
    static_cast<void>(change(id_sem, -1, SEM_UNDO));  // removed again meanwhile: as without one
}

void vs_sem::sem_unlock() {
    static_cast<void>(change(id_sem, +1, SEM_UNDO));  // as sem_lock
}

int vs_sem::sem_enter() {
    static_cast<void>(change(id_sem, +1, SEM_UNDO));  // GETVAL tells
    return semctl(id_sem, 0, GETVAL);
}

int vs_sem::sem_exit() {
    static_cast<void>(change(id_sem, -1, SEM_UNDO));  // GETVAL tells
    return semctl(id_sem, 0, GETVAL);
}
