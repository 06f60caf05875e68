#pragma once

#include <cstddef>

// Holds a record that other programs share to its bytes: a compiler that lays it out otherwise does
// not build it. Two neighbours of equal type can still be swapped unseen; tests lay known bytes and
// read them by name.
#define VESK_SIZE(Record, size) static_assert(sizeof(Record) == (size), #Record ": size differs")
#define VESK_FIELD(Record, field, offset) \
    static_assert(offsetof(Record, field) == (offset), #Record "::" #field ": offset differs")
