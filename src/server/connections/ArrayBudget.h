#pragma once

#include <cstddef>

/// Bounds the memory of all arrays that the library allocates in this thread during the object's
/// lifetime: an empty data value takes one byte in a request and 80 when it is decoded. An array
/// beyond the bound is refused as if memory had run out, and the client gets that as the request's
/// result. At most one object per thread at a time.
///
/// Needs a library built with UA_ENABLE_MALLOC_SINGLETON, as ours is; otherwise there is no bound.
class ArrayBudget {
  public:
    explicit ArrayBudget(std::size_t bytes);
    ~ArrayBudget();
    ArrayBudget(const ArrayBudget&) = delete;
    ArrayBudget& operator=(const ArrayBudget&) = delete;
};
