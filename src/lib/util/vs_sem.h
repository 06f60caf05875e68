#pragma once

#include <sys/types.h>

#include <string>

#include "lib/util/bool16.h"

/// Key of an IPC index as semaphores, the name registry and the message queues use it: installation
/// folder from the environment at each call, row of ID_mas, its character taken as it is.
/// @return -1 when the index is outside 0 to 127 or the key file does not exist (errno says which).
///
/// KEPT: unlike ShmKey, it does not replace a '*' by the generation's character and has no debug
/// variant. Required by the interface: processes that derive different keys lock different sets.
key_t SemKey(int index);

/// A System V semaphore that processes share by IPC index, used as a lock or to count its users.
/// What an operation does is undone by the kernel when the process dies. Not copyable: the
/// creator's destructor removes the set.
class vs_sem {
  public:
    /// Makes the set (initial value 1) or joins it. Never fails visibly: a missing key file and a
    /// set that is unavailable are reported on standard error ("vs_sem(ftok)", "vs_sem(semget)"),
    /// and the operations then do nothing. If a set still has the value 0 after a second, its maker
    /// is taken for dead and the set is raised here, only once however many processes wait for it.
    /// @param perm  permission bits, as 0666
    vs_sem(int index, unsigned perm);
    virtual ~vs_sem();
    vs_sem(const vs_sem&) = delete;
    vs_sem& operator=(const vs_sem&) = delete;

    /// Takes the lock, waiting as long as needed; signals do not end the wait. Not recursive. If
    /// another process has removed the set and created it again, the new set is joined; if there is
    /// none, this does nothing.
    void sem_lock();
    void sem_unlock();

    /// Counts this process in.
    /// @return the value after it, -1 when the set is gone.
    int sem_enter();
    /// Counts this process out; waits when the value is 0.
    /// @return the value after it, -1 when the set is gone.
    int sem_exit();

    /// 1 when this object made the set.
    int is_created() const { return cr_sem; }

    // Names as the controller's other code has them.
    int id_sem = -1;     ///< kernel id of the set
    unsigned sem_perm;   ///< permission bits
    int semnum = 1;      ///< semaphores in the set
    char id_name[80]{};  ///< parts of the key: declared, not filled
    int id_file = 0;
    char id_c = 0;
    BOOL cr_sem = 0;  ///< this object made the set
    key_t sem_key;    ///< -1 without a key file

  private:
    std::string keyFile_;  // locked while the set is raised
};

/// Holds a vs_sem for a scope.
class SemLock {
  public:
    explicit SemLock(vs_sem& sem) : sem_(sem) { sem_.sem_lock(); }
    ~SemLock() { sem_.sem_unlock(); }
    SemLock(const SemLock&) = delete;
    SemLock& operator=(const SemLock&) = delete;

  private:
    vs_sem& sem_;
};
