#pragma once

#include <open62541/types.h>

#include <cstddef>
#include <cstring>

/// A scalar of the variant's own, as the library's scalar copy makes it, but without members to be
/// copied, and not cleared first: every byte is written anyway.
/// @param value  empty; stays so when there is no memory
/// @return whether there was
template <class T>
bool setOwnScalar(UA_Variant& value, const T& scalar, std::size_t typeIndex) noexcept {
    void* const data = UA_malloc(sizeof(T));
    if (data == nullptr) return false;
    std::memcpy(data, &scalar, sizeof(T));
    UA_Variant_setScalar(&value, data, &UA_TYPES[typeIndex]);
    return true;
}
