#include "server/connections/ArrayBudget.h"

#include <open62541/config.h>

#include <utility>

#ifdef UA_ENABLE_MALLOC_SINGLETON

namespace {

thread_local std::size_t left = 0;  // bytes
thread_local decltype(UA_callocSingleton) former = nullptr;

void* allocate(std::size_t count, std::size_t size) {
    if (count > 1 && size > 0) {
        if (count > left / size) return nullptr;
        left -= count * size;
    }
    return former(count, size);
}

}  // namespace

ArrayBudget::ArrayBudget(std::size_t bytes) {
    left = bytes;
    former = std::exchange(UA_callocSingleton, allocate);
}

ArrayBudget::~ArrayBudget() {
    UA_callocSingleton = former;
}

#else

ArrayBudget::ArrayBudget(std::size_t /*bytes*/) {}
ArrayBudget::~ArrayBudget() = default;

#endif
