#pragma once

#include <mutex>

#if __has_include(<sys/single_threaded.h>)
#include <sys/single_threaded.h>
#endif

/// Keeps a read and a write of one tag apart.
///
/// The server has one thread, and then nothing is locked: a mutex is a noticeable part of a
/// read. The C library tells when that changes, so that a build of the OPC UA library that reads
/// from several threads is safe too.
class ObjectMutex {
  public:
    /// Holds the mutex while it lives.
    class Guard {
      public:
        explicit Guard(ObjectMutex& mutex) : held_(isShared() ? &mutex.mutex_ : nullptr) {
            if (held_ != nullptr) held_->lock();
        }
        ~Guard() {
            if (held_ != nullptr) held_->unlock();
        }
        Guard(const Guard&) = delete;
        Guard& operator=(const Guard&) = delete;

      private:
        // Decided once: the only thread may not start another one while it holds a guard.
        std::mutex* const held_;
    };

  private:
    static bool isShared() noexcept {
#if __has_include(<sys/single_threaded.h>)
        return __libc_single_threaded == 0;
#else
        return true;
#endif
    }

    std::mutex mutex_;
};
