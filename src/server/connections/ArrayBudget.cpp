#include "server/connections/ArrayBudget.h"

#include <cstdlib>
#include <utility>

#ifdef UA_ENABLE_MALLOC_SINGLETON

namespace {

thread_local std::size_t left = 0;  // bytes

void* allocate(std::size_t count, std::size_t size) {
    if (count > 1 && size > 0) {
        if (count > left / size) return nullptr;
        left -= count * size;
    }
    return std::calloc(count, size);
}

}  // namespace

ArrayBudget::ArrayBudget(std::size_t bytes) : former_(std::exchange(UA_callocSingleton, allocate)) {
    left = bytes;
}

ArrayBudget::~ArrayBudget() {
    UA_callocSingleton = former_;
}

#else

ArrayBudget::ArrayBudget(std::size_t /*bytes*/) {}
ArrayBudget::~ArrayBudget() = default;

#endif
