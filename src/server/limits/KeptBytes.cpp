#include "server/limits/KeptBytes.h"

#include <malloc.h>
#include <open62541/config.h>

#include <algorithm>
#include <utility>

#ifdef UA_ENABLE_MALLOC_SINGLETON

namespace {

/// The library's ways to memory, as they were before.
struct Functions {
    decltype(UA_mallocSingleton) allocate;
    decltype(UA_callocSingleton) allocateArray;
    decltype(UA_reallocSingleton) grow;
    decltype(UA_freeSingleton) free;
};

thread_local Functions former{};
thread_local KeptBytes::Refusal refused{};
thread_local std::ptrdiff_t kept = 0;
thread_local bool isResults = false;  // what the next array is for

std::ptrdiff_t sizeOf(void* memory) {
    return static_cast<std::ptrdiff_t>(malloc_usable_size(memory));  // 0 for none
}

void* counted(void* memory) {
    kept += sizeOf(memory);
    return memory;
}

void* allocate(std::size_t size) {
    return counted(former.allocate(size));
}

void* allocateArray(std::size_t count, std::size_t size) {
    if (refused.arrays && count > 1) return nullptr;
    void* const memory = former.allocateArray(count, size);
    return std::exchange(isResults, false) ? memory : counted(memory);
}

void* grow(void* memory, std::size_t size) {
    if (size > refused.grown) return nullptr;
    const std::ptrdiff_t before = sizeOf(memory);
    void* const grown = former.grow(memory, size);
    if (grown != nullptr) kept += sizeOf(grown) - before;
    return grown;
}

void release(void* memory) {
    kept -= sizeOf(memory);
    former.free(memory);
}

}  // namespace

KeptBytes::KeptBytes(Refusal refusal) {
    former = {UA_mallocSingleton, UA_callocSingleton, UA_reallocSingleton, UA_freeSingleton};
    refused = refusal;
    kept = 0;
    isResults = true;
    UA_mallocSingleton = allocate;
    UA_callocSingleton = allocateArray;
    UA_reallocSingleton = grow;
    UA_freeSingleton = release;
}

KeptBytes::~KeptBytes() {
    UA_mallocSingleton = former.allocate;
    UA_callocSingleton = former.allocateArray;
    UA_reallocSingleton = former.grow;
    UA_freeSingleton = former.free;
}

std::size_t KeptBytes::count() const {
    return static_cast<std::size_t>(std::max<std::ptrdiff_t>(kept, 0));
}

#else

KeptBytes::KeptBytes(Refusal /*refusal*/) {}
KeptBytes::~KeptBytes() = default;
std::size_t KeptBytes::count() const {
    return 0;
}

#endif
