#pragma once

#include <cstddef>
#include <limits>

/// Bounds the memory that the library takes for one request, in this thread during the object's
/// lifetime, and counts the bytes that it keeps: those that it allocates and does not free, except
/// for the first array, which holds the results. A monitored item keeps its client's texts and
/// filters, which may be as long as a request.
///
/// Needs a library built with UA_ENABLE_MALLOC_SINGLETON, as ours is; otherwise there are no bounds
/// and nothing is counted. At most one object per thread at a time.
class RequestMemory {
  public:
    struct Bounds {
        /// Of all arrays together, including freed ones. After the first refusal all further arrays
        /// are refused too, because the request fails anyway.
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
