#pragma once

#include <cstddef>
#include <limits>

/// Bounds the memory that the library takes for one request, in this thread and as long as the
/// object lives, and counts what it keeps of it: the bytes that it allocates and does not free, but
/// for the first array, which is that of the results. A monitored item keeps texts and filters of
/// its client, as long as a request may be.
///
/// Needs a library built with UA_ENABLE_MALLOC_SINGLETON, as ours is; with another one there are no
/// bounds, and nothing is counted. At most one object a thread at a time.
class RequestMemory {
  public:
    struct Bounds {
        /// Of all arrays together, freed ones included. Once one was refused, all are: what the
        /// request still does would be for nothing.
        std::size_t arrays = std::numeric_limits<std::size_t>::max();
        /// Of one array that grows.
        std::size_t grown = std::numeric_limits<std::size_t>::max();
    };

    explicit RequestMemory(Bounds bounds);
    ~RequestMemory();
    RequestMemory(const RequestMemory&) = delete;
    RequestMemory& operator=(const RequestMemory&) = delete;

    /// Bytes; 0 also when more was freed than allocated.
    [[nodiscard]] std::size_t kept() const;
};
