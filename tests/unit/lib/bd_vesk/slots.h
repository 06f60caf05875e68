#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <vector>

/// Slot of a virtual operation in its class's virtual table, from 0. Pointers to virtual members
/// hold its offset: plus one on most machines, plain where the lowest bit of a code address is in
/// use.
template <class Member>
std::size_t slotOf(Member member) {
    static_assert(sizeof(member) == 2 * sizeof(std::ptrdiff_t));
    std::ptrdiff_t words[2];
    std::memcpy(words, &member, sizeof(words));
    return static_cast<std::size_t>(words[0]) / sizeof(void*);
}

/// Slots of several operations of one class.
template <class Class, class... Results>
std::vector<std::size_t> slotsOf(Results... members) {
    return {slotOf(members)...};
}

/// 2, 3, ... : what follows the two slots of a destructor.
inline std::vector<std::size_t> slotsFromTwo(std::size_t count) {
    std::vector<std::size_t> slots(count);
    std::iota(slots.begin(), slots.end(), std::size_t{2});
    return slots;
}
