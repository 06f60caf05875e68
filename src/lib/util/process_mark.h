#pragma once

#include <sys/types.h>

#include <string>

/// A process, recognised again by its id and the time of its start: ids are given anew.
class ProcessMark {
  public:
    /// Marks the process that has the id now; one that does not exist is never alive.
    explicit ProcessMark(pid_t pid);

    /// Whether it still runs. A process of another user counts, one that has ended and waits for
    /// its parent does not. Where /proc hides the process, the id alone decides.
    [[nodiscard]] bool isAlive() const;

  private:
    pid_t pid_;
    std::string start_;  // clock ticks since boot, as /proc has them; empty when hidden
};
