#pragma once

#include <cstddef>
#include <limits>

/// Counts what the library keeps of a request: the bytes that it allocates in this thread and does
/// not free as long as the object lives, but for the first array, which is that of the results. A monitored item keeps texts and filters of its client, as
/// long as one request may be.
///
/// Needs a library built with UA_ENABLE_MALLOC_SINGLETON, as ours is; with another one it counts and
/// refuses nothing. At most one object a thread at a time.
class KeptBytes {
  public:
    struct Refusal {
        bool arrays = false;  ///< every array is refused as if there were no memory for it
        /// An array that grows is refused beyond so many bytes.
        std::size_t grown = std::numeric_limits<std::size_t>::max();
    };

    explicit KeptBytes(Refusal refusal);
    ~KeptBytes();
    KeptBytes(const KeptBytes&) = delete;
    KeptBytes& operator=(const KeptBytes&) = delete;

    /// 0 also when more was freed than allocated.
    [[nodiscard]] std::size_t count() const;
};
