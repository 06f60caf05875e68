#include "server/limits/RequestMemory.h"

#include <malloc.h>
#include <open62541/config.h>

#include <algorithm>
#include <utility>

#ifdef UA_ENABLE_MALLOC_SINGLETON

namespace {

/// The library's previous allocation functions.
struct Functions {
    decltype(UA_mallocSingleton) allocate;
    decltype(UA_callocSingleton) allocateArray;
    decltype(UA_reallocSingleton) grow;
    decltype(UA_freeSingleton) free;
};

thread_local Functions former{};
thread_local std::size_t left = 0;       // for arrays
thread_local std::size_t mostGrown = 0;  // bytes
thread_local std::ptrdiff_t keptBytes = 0;
thread_local bool isResults = false;  // the next array is that of the results

std::ptrdiff_t sizeOf(void* memory) {
    return static_cast<std::ptrdiff_t>(malloc_usable_size(memory));  // 0 for none
}

void* counted(void* memory) {
    keptBytes += sizeOf(memory);
    return memory;
}

void* allocate(std::size_t size) {
    return counted(former.allocate(size));
}

bool takes(std::size_t count, std::size_t size) {
    left = size > 0 && count > left / size ? 0 : left - count * size;
    return left > 0;
}

void* allocateArray(std::size_t count, std::size_t size) {
    if (count > 1 && !takes(count, size)) return nullptr;
    void* const memory = former.allocateArray(count, size);
    return std::exchange(isResults, false) ? memory : counted(memory);
}

void* grow(void* memory, std::size_t size) {
    const std::ptrdiff_t before = sizeOf(memory);
    if (size > mostGrown || !takes(1, size)) return nullptr;
    void* const grown = former.grow(memory, size);
    if (grown != nullptr) keptBytes += sizeOf(grown) - before;
    return grown;
}

void release(void* memory) {
    keptBytes -= sizeOf(memory);
    former.free(memory);
}

}  // namespace

RequestMemory::RequestMemory(Bounds bounds) {
    former = {UA_mallocSingleton, UA_callocSingleton, UA_reallocSingleton, UA_freeSingleton};
    left = bounds.arrays;
    mostGrown = bounds.grown;
    keptBytes = 0;
    isResults = true;
    UA_mallocSingleton = allocate;
    UA_callocSingleton = allocateArray;
    UA_reallocSingleton = grow;
    UA_freeSingleton = release;
}

RequestMemory::~RequestMemory() {
    UA_mallocSingleton = former.allocate;
    UA_callocSingleton = former.allocateArray;
    UA_reallocSingleton = former.grow;
    UA_freeSingleton = former.free;
}

std::size_t RequestMemory::kept() const {
    return static_cast<std::size_t>(std::max<std::ptrdiff_t>(keptBytes, 0));
}

#else

RequestMemory::RequestMemory(Bounds /*bounds*/) {}
RequestMemory::~RequestMemory() = default;
std::size_t RequestMemory::kept() const {
    return 0;
}

#endif
