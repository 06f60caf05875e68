#pragma once

#include <cstddef>
#include <cstdint>

#include "lib/util/vs_sem.h"

/// One entry of the name registry in shared memory.
struct buf_str {
    std::int32_t pid;  ///<  0  process id
    char name[36];     ///<  4  NUL-terminated; an empty name marks a free entry
};
static_assert(sizeof(buf_str) == 40);
static_assert(offsetof(buf_str, name) == 4);

inline constexpr int kRegistryEntries = 40;
inline constexpr std::size_t kRegistryNameMax = sizeof(buf_str::name) - 1;

/// By `kill(pid, 0)`: 0 when the process exists, also one of another user that this one may not signal;
/// else -1.
int findpid(int pid);

/// The controller's registry of process names: 40 entries in a shared segment, guarded by a
/// semaphore of the same key. The process that made the segment removes it at its end, even while
/// others are attached; a process that joins uses it as it finds it.
///
/// Without a segment (reported on standard error) every operation answers as for an empty registry
/// that takes no name.
class vs_shm : public vs_sem {
  public:
    /// @param index  IPC index, 0 for the registry of the controller
    explicit vs_shm(int index);
    ~vs_shm() override;

    /// Process registered under a name. Reads without the lock; a holder that has died is removed.
    /// @return its pid, -1 when no live process has the name.
    int name_find(const char* name);

    /// Registers a process.
    /// @param name  1 to 35 bytes (CP866); others are refused with a line on standard error
    /// @param pid   0: this process
    /// @return the pid registered; -1 when a live process has the name, all entries are taken, or
    ///         the name is refused.
    int name_add(const char* name, int pid);

    /// Removes every entry of a process, or of a name.
    /// @return the pid of the last one removed, 0 when there was none.
    int pid_del(int pid);
    int name_del(const char* name);

    /// Makes or joins the segment of the generation byte (IPC index 48) and sets it. The creator of
    /// the registry removes that segment with it.
    /// @return 0; -1 when no segment could be attached (reported on standard error).
    int set_shmidx(int index, std::uint8_t value);

    // Names as the controller's other code has them.
    int id_shm = -1;               ///< kernel id of the registry's segment
    BOOL cr_mem = 0;               ///< this object made the segment
    buf_str* buf_names = nullptr;  ///< 40 entries in shared memory; null without a segment
    buf_str* buf = nullptr;        ///< last entry that was examined
    volatile std::uint8_t* ptr_shmidx = nullptr;  ///< generation byte, attached by set_shmidx
    int id_shmidx = -1;                           ///< kernel id of its segment

  private:
    template <class Matches>
    int deleteEntries(Matches matches);
    void shiftUp(int freed);
};
