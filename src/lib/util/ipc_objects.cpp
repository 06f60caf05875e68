#include "lib/util/ipc_objects.h"

#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/sem.h>
#include <sys/shm.h>

#include <cerrno>

namespace {

// The caller of semctl declares its fourth argument.
union semun {
    int val;
    semid_ds* buf;
};

int idOf(IpcKind kind, key_t key) {
    switch (kind) {
        case IpcKind::segment:
            return shmget(key, 0, 0);
        case IpcKind::semaphore:
            return semget(key, 0, 0);
        case IpcKind::queue:
            return msgget(key, 0);
    }
    return -1;
}

std::optional<IpcObject> segment(int id) {
    shmid_ds ds{};
    if (shmctl(id, IPC_STAT, &ds) == -1) return std::nullopt;
    return IpcObject{IpcKind::segment, ds.shm_perm.__key, id,          ds.shm_perm.uid, ds.shm_cpid,
                     ds.shm_segsz,     ds.shm_nattch,     ds.shm_ctime};
}

std::optional<IpcObject> semaphores(int id) {
    semid_ds ds{};
    if (semctl(id, 0, IPC_STAT, semun{.buf = &ds}) == -1) return std::nullopt;
    return IpcObject{IpcKind::semaphore, ds.sem_perm.__key, id, ds.sem_perm.uid, 0, ds.sem_nsems, 0,
                     ds.sem_ctime};
}

std::optional<IpcObject> queue(int id) {
    msqid_ds ds{};
    if (msgctl(id, IPC_STAT, &ds) == -1) return std::nullopt;
    return IpcObject{IpcKind::queue, ds.msg_perm.__key, id, ds.msg_perm.uid, 0, ds.msg_qnum, 0,
                     ds.msg_ctime};
}

}  // namespace

std::optional<IpcObject> IpcFind(IpcKind kind, key_t key) {
    if (key == -1 || key == IPC_PRIVATE) return std::nullopt;
    const int id = idOf(kind, key);
    if (id == -1) return std::nullopt;
    const auto found = IpcStat(kind, id);
    if (!found && errno == EACCES) return IpcObject{kind, key, id, 0, 0, 0, 0, 0};
    return found;
}

std::optional<IpcObject> IpcStat(IpcKind kind, int id) {
    switch (kind) {
        case IpcKind::segment:
            return segment(id);
        case IpcKind::semaphore:
            return semaphores(id);
        case IpcKind::queue:
            return queue(id);
    }
    return std::nullopt;
}

int IpcRemove(IpcKind kind, int id) {
    switch (kind) {
        case IpcKind::segment:
            return shmctl(id, IPC_RMID, nullptr);
        case IpcKind::semaphore:
            return semctl(id, 0, IPC_RMID);
        case IpcKind::queue:
            return msgctl(id, IPC_RMID, nullptr);
    }
    errno = EINVAL;
    return -1;
}
