#pragma once

#include <atomic>
#include <cstddef>

namespace tools::opcuaweb {

/// A number of places for work that takes much memory. Any thread; for std::unique_lock.
class Places {
  public:
    explicit Places(std::ptrdiff_t free) : free_(free) {}

    [[nodiscard]] bool try_lock() {
        if (free_.fetch_sub(1) > 0) return true;
        unlock();
        return false;
    }
    void unlock() { free_.fetch_add(1); }

  private:
    std::atomic<std::ptrdiff_t> free_;
};

}  // namespace tools::opcuaweb
