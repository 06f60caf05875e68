#pragma once

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
