#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "sim/layout/field_rows.h"
#include "sim/layout/types.h"

namespace sim {

/// Byte offset of a field in its record; the field is named as in the table. Evaluated by the
/// compiler, which rejects a name that is not in the table.
consteval std::size_t at(TypeCode type, std::string_view field) {
    for (const FieldRow& row : kFieldRows) {
        if (row.type == type && row.name == field) return row.offset;
    }
    throw "no such field";
}

/// One numbered attribute: a row of the field table, or one element of a repeated row.
struct Attribute {
    std::uint16_t number = 0;
    std::string name;  // with "[i]" for array elements and ".i" for bits
    std::uint16_t offset = 0;
    Storage storage = Storage::byte;
    std::uint8_t bit = 0;  // for Storage::bit
    std::string_view meaning;
};

/// The attributes of a type in the order of their numbers, which start at 1 and have no gap.
[[nodiscard]] std::span<const Attribute> attributesOf(TypeCode type);

}  // namespace sim
