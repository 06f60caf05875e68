#pragma once

#include <sys/types.h>

#include <cstddef>
#include <ctime>
#include <optional>

/// Inspects and removes System V objects without using them, for programs that own or check the
/// controller's objects. Keys come from ShmKey (segments), SemKey (semaphores; the registry's
/// request queue has the key of its semaphore, the reply queue the next one).

enum class IpcKind { segment, semaphore, queue };

struct IpcObject {
    IpcKind kind;
    key_t key;               ///< IPC_PRIVATE (0) for a segment that waits for its last detach
    int id;                  ///< kernel id
    uid_t owner;             ///< user who owns it
    pid_t creatorPid;        ///< process that made a segment; 0 for the other kinds
    std::size_t size;        ///< bytes of a segment, semaphores of a set, messages in a queue
    unsigned long attached;  ///< attachments of a segment; 0 for the other kinds
    std::time_t changeTime;  ///< s since 1970, of the creation or the last change of its settings
};

/// The object with a key, nothing when there is none (or the key is -1). An object that this user
/// may not read has only kind, key and id; the rest is 0.
std::optional<IpcObject> IpcFind(IpcKind kind, key_t key);

/// The object with a kernel id, nothing when there is none or this user may not read it. Ids are
/// reused after a removal: compare key and changeTime with the recorded values before relying on an
/// id.
std::optional<IpcObject> IpcStat(IpcKind kind, int id);

/// Removes an object. Processes that wait on a semaphore or queue are woken with an error; a
/// segment stays until its last detach.
/// @return 0, or -1 with errno set.
int IpcRemove(IpcKind kind, int id);
