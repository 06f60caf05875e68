#pragma once

#include <open62541/types.h>

#include <cstddef>
#include <cstring>

/// Gives a variant its own copy of a scalar, as the library's scalar copy does. Faster, because it
/// copies no members and does not clear the memory first: every byte is written anyway.
/// @param value  empty; stays empty when there is no memory
/// @return whether there was memory
template <class T>
bool setOwnScalar(UA_Variant& value, const T& scalar, std::size_t typeIndex) noexcept {
    void* const data = UA_malloc(sizeof(T));
    if (data == nullptr) return false;
    std::memcpy(data, &scalar, sizeof(T));
    UA_Variant_setScalar(&value, data, &UA_TYPES[typeIndex]);
    return true;
}
