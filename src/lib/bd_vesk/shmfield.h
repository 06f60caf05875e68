#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

// Access to single fields of memory that other processes use at the same time, without locks.
//
// An aligned field of 1, 2, 4 or 8 bytes is one load or store and is never seen half written. An
// unaligned field of a packed record may be, where it crosses a cache line; a text always may be.
// That is accepted.

template <class T>
[[nodiscard]] inline bool isAligned(const void* field) noexcept {
    return (reinterpret_cast<std::uintptr_t>(field) & (sizeof(T) - 1)) == 0;
}

template <class T>
[[nodiscard]] inline T loadField(const void* field) noexcept {
    static_assert(std::is_trivially_copyable_v<T> && sizeof(T) <= 8);
    T value;
    if (isAligned<T>(field))
        __atomic_load(static_cast<const T*>(field), &value, __ATOMIC_RELAXED);
    else
        std::memcpy(&value, field, sizeof(T));
    return value;
}

template <class T>
inline void storeField(void* field, T value) noexcept {
    static_assert(std::is_trivially_copyable_v<T> && sizeof(T) <= 8);
    if (isAligned<T>(field))
        __atomic_store(static_cast<T*>(field), &value, __ATOMIC_RELAXED);
    else
        std::memcpy(field, &value, sizeof(T));
}

/// Copies `size` bytes of a field. A field with the size of a number is loaded in one piece.
inline void loadBytes(void* to, const void* field, std::size_t size) noexcept {
    const auto loadAs = [&]<class T>(T value) {
        value = loadField<T>(field);
        std::memcpy(to, &value, sizeof(T));
    };
    switch (size) {
        case sizeof(std::uint8_t):
            return loadAs(std::uint8_t{});
        case sizeof(std::uint16_t):
            return loadAs(std::uint16_t{});
        case sizeof(std::uint32_t):
            return loadAs(std::uint32_t{});
        case sizeof(std::uint64_t):
            return loadAs(std::uint64_t{});
        default:
            std::memcpy(to, field, size);
    }
}

/// Copies `size` bytes into a field, as loadBytes does.
inline void storeBytes(void* field, const void* from, std::size_t size) noexcept {
    const auto storeAs = [&]<class T>(T value) {
        std::memcpy(&value, from, sizeof(T));
        storeField<T>(field, value);
    };
    switch (size) {
        case sizeof(std::uint8_t):
            return storeAs(std::uint8_t{});
        case sizeof(std::uint16_t):
            return storeAs(std::uint16_t{});
        case sizeof(std::uint32_t):
            return storeAs(std::uint32_t{});
        case sizeof(std::uint64_t):
            return storeAs(std::uint64_t{});
        default:
            std::memcpy(field, from, size);
    }
}

/// Sets or clears the bits of `mask`; other processes write the byte's other bits.
inline void storeBits(void* field, std::uint8_t mask, bool on) noexcept {
    auto* byte = static_cast<std::uint8_t*>(field);
    if (on)
        __atomic_fetch_or(byte, mask, __ATOMIC_RELAXED);
    else
        __atomic_fetch_and(byte, static_cast<std::uint8_t>(~mask), __ATOMIC_RELAXED);
}
