#pragma once

#include <sys/types.h>

#include <string>

/// Identifies a process by its id and its start time, because the kernel reuses ids.
class ProcessMark {
  public:
    /// Marks the process that has the id now; one that does not exist is never alive.
    explicit ProcessMark(pid_t pid);

    /// Whether it is still running. A process of another user counts; a zombie does not. Where
    /// /proc hides the process, the id alone decides.
    [[nodiscard]] bool isAlive() const;

  private:
    pid_t pid_;
    std::string start_;  // clock ticks since boot, as /proc has them; empty when hidden
};
