#pragma once

#include <cstddef>
#include <initializer_list>

// Checks the layout of a record that other programs share: a different layout does not compile.
// Swapping two neighbours of equal type goes unnoticed unless VESK_IN_ORDER is used.
#define VESK_SIZE(Record, size) static_assert(sizeof(Record) == (size), #Record ": size differs")
#define VESK_FIELD(Record, field, offset) \
    static_assert(offsetof(Record, field) == (offset), #Record "::" #field ": offset differs")

// All fields of a record, 64 at most, in the order of the controller's documents: a field in the
// wrong place does not compile. If the sizes of two fields were exchanged, the VESK_FIELD of a
// later field fails.
#define VESK_IN_ORDER(Record, ...)                                                         \
    static_assert(                                                                         \
        bd_vesk_detail::followEachOther({VESK_READ_64(VESK_FIELDS(Record, __VA_ARGS__))}), \
        #Record ": order differs")

// A macro can only expand itself again when its output is rescanned, hence the rounds below.
#define VESK_FIELDS(Record, field, ...)               \
    {offsetof(Record, field), sizeof(Record::field)}, \
        __VA_OPT__(VESK_FIELDS_AGAIN VESK_PARENS(Record, __VA_ARGS__))
#define VESK_FIELDS_AGAIN() VESK_FIELDS
#define VESK_PARENS ()
#define VESK_READ_64(...) VESK_READ_16(VESK_READ_16(VESK_READ_16(VESK_READ_16(__VA_ARGS__))))
#define VESK_READ_16(...) VESK_READ_4(VESK_READ_4(VESK_READ_4(VESK_READ_4(__VA_ARGS__))))
#define VESK_READ_4(...) VESK_READ(VESK_READ(VESK_READ(__VA_ARGS__)))
#define VESK_READ(...) __VA_ARGS__

namespace bd_vesk_detail {
struct FieldPlace {
    std::size_t offset, size;
};
constexpr bool followEachOther(std::initializer_list<FieldPlace> fields) {
    std::size_t end = 0;
    for (const FieldPlace& field : fields) {
        if (field.offset != end) return false;
        end += field.size;
    }
    return true;
}
}  // namespace bd_vesk_detail
