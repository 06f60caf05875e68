#include "server/memory/FreeMemory.h"

#ifdef OPCUASRV_TCMALLOC

#include <gperftools/malloc_extension_c.h>

#include <algorithm>
#include <cstddef>

/// A sixteenth each time: what a load frees and takes again every second stays, for the most part,
/// because giving it back and touching it anew costs more than the load itself saves.
void returnFreeMemory() noexcept {
    constexpr std::size_t kLeast = std::size_t{1} << 20;
    constexpr std::size_t kMost = std::size_t{16} << 20;
    std::size_t unused = 0;
    if (MallocExtension_GetNumericProperty("tcmalloc.pageheap_free_bytes", &unused) == 0) return;
    MallocExtension_ReleaseToSystem(std::clamp(unused / 16, kLeast, kMost));
}

#else

void returnFreeMemory() noexcept {}

#endif
