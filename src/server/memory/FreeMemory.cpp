#include "server/memory/FreeMemory.h"

#ifdef OPCUASRV_TCMALLOC

#include <gperftools/malloc_extension_c.h>

#include <algorithm>
#include <cstddef>

/// A sixteenth each time, so that most of the memory that a load frees and takes again every second
/// stays with the process: returning it and touching it again would cost more than it saves.
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
