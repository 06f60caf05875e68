#pragma once

#include <atomic>
#include <cstdint>

#include "lib/rolling2/rol_man.h"

/// The journal's lock for a scope: against the threads of this process, then against other
/// processes. Not recursive. Needs an open journal.
class CRolManager::Lock {
  public:
    explicit Lock(CRolManager& manager) : threads_(manager.mutex_), processes_(*manager.Rol2Sem) {}

  private:
    std::lock_guard<std::mutex> threads_;
    SemLock processes_;
};

/// A store that becomes visible after all earlier stores and before all later ones. So if a process
/// is killed between two steps, the next one finds a ring of whole messages only, and readers
/// without the lock can detect a change.
inline void RolStoreInOrder(std::uint16_t* field, unsigned value) {
    std::atomic_ref(*field).store(static_cast<std::uint16_t>(value), std::memory_order_release);
    // The store itself only orders what comes before it; the controller's processor may move later
    // stores ahead of it.
    std::atomic_thread_fence(std::memory_order_release);
}
