#pragma once

#include <cstddef>

/// Bounds the memory of all arrays that the library allocates in this thread as long as the object
/// lives: an empty data value takes one byte in a request and 80 when it is decoded. An array
/// beyond the bound is refused as if there were no memory for it, which the client gets as the
/// request's result. At most one object a thread at a time.
///
/// Needs a library built with UA_ENABLE_MALLOC_SINGLETON, as ours is; with another one there is no
/// bound.
class ArrayBudget {
  public:
    explicit ArrayBudget(std::size_t bytes);
    ~ArrayBudget();
    ArrayBudget(const ArrayBudget&) = delete;
    ArrayBudget& operator=(const ArrayBudget&) = delete;
};
