#pragma once

#include <bit>
#include <cstddef>
#include <cstring>
#include <string>
#include <type_traits>

namespace sim {

static_assert(
    std::endian::native == std::endian::little,
    "records and files are little-endian; this program writes them as they lie in memory");

/// Stores a number at an address of any alignment.
template <class T>
void store(void* to, T value) {
    static_assert(std::is_trivially_copyable_v<T>);
    std::memcpy(to, &value, sizeof value);
}

/// Reads a number from an address of any alignment.
template <class T>
[[nodiscard]] T load(const void* from) {
    static_assert(std::is_trivially_copyable_v<T>);
    T value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

template <class T>
void appendLittle(std::string& to, T value) {
    const std::size_t end = to.size();
    to.resize(end + sizeof value);
    store(to.data() + end, value);
}

}  // namespace sim
