#pragma once

#include <sys/time.h>

#include <cstddef>

#include "jxotr/opchda.h"

/// Reads the trend archive; each call waits for its answer. One thread at a time.
///
/// A caller makes it with `new` and frees it with `delete`, which calls the library through the
/// second slot of the virtual table. So the destructor must be the first virtual operation, and no
/// other operation may become virtual.
class IHDA_SyncRead {
  public:
    virtual ~IHDA_SyncRead();
    IHDA_SyncRead();
    IHDA_SyncRead(const IHDA_SyncRead&) = delete;
    IHDA_SyncRead& operator=(const IHDA_SyncRead&) = delete;

    /// Values of the items between two times, oldest first.
    ///
    /// @param start, end   seconds since 1970-01-01 UTC and microseconds
    /// @param valueCount   at most this many values for each item
    /// @param bounds       also the values next to the range
    /// @param results      set to one record for each item; the caller frees each record's `values`
    ///                     with delete[] and the record with delete
    /// @param itemErrors   set to one result for each item; the caller frees it with delete[]
    /// @return 0 if anything could be read
    HRESULT ReadRaw(timeval* start, timeval* end, unsigned int valueCount, bool bounds,
                    unsigned int itemCount, OPCHDAITEMDEF* items, OPCHDAITEM** results,
                    HRESULT** itemErrors);

  private:
    // The size of the library's own object is not known, and its constructor writes into ours; see
    // IHDA_BrowseConfig.
    [[maybe_unused]] alignas(std::max_align_t) std::byte storage_[4096];
};
