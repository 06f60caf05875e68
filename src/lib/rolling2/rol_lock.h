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

/// A store that is seen behind all stores before it and ahead of all behind it: readers without the
/// lock, and processes that start after another was killed in between, then see a ring that holds
/// whole messages only.
inline void RolStoreInOrder(std::uint16_t* field, unsigned value) {
    std::atomic_ref(*field).store(static_cast<std::uint16_t>(value), std::memory_order_release);
    // The store alone keeps what comes before it; the controller's processor moves what follows.
    std::atomic_thread_fence(std::memory_order_release);
}
