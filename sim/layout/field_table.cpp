#include "sim/layout/field_table.h"

#include <algorithm>
#include <array>
#include <vector>

namespace sim {

// ---- compile-time checks of the rows -------------------------------------------------------

namespace {

constexpr std::uint16_t numberOf(TypeCode type, std::string_view field) {
    for (const FieldRow& row : kFieldRows) {
        if (row.type == type && row.name == field) return row.number;
    }
    return 0;
}

constexpr std::size_t sizeOf(const FieldRow& row) {
    const bool longText = row.name == "string.TZN";
    return longText ? 17 : elementSize(row.storage);
}

constexpr bool numbersWithoutGap(TypeCode type) {
    std::uint16_t next = 1;
    bool found = true;
    while (found) {
        found = false;
        for (const FieldRow& row : kFieldRows) {
            if (row.type != type || row.number != next) continue;
            if (found) return false;  // two rows have the same number
            found = true;
        }
        for (const FieldRow& row : kFieldRows) {
            if (row.type == type && row.number == next) {
                next = static_cast<std::uint16_t>(next + row.repeat);
                break;
            }
        }
    }
    std::size_t total = 0;
    for (const FieldRow& row : kFieldRows) {
        if (row.type == type && row.number != 0) total += row.repeat;
    }
    return total + 1 == next;
}

/// Rows that are not bits follow each other without gap or overlap up to the record's end. The
/// three layouts of HI share their bytes and are not checked.
constexpr bool fieldsFillRecord(TypeCode type) {
    std::size_t next = 0;
    for (const FieldRow& row : kFieldRows) {
        if (row.type != type || row.storage == Storage::bit) continue;
        if (row.offset != next) return false;
        next += sizeOf(row) * row.repeat;
    }
    return next == layoutOf(type).passport.elementSize;
}

static_assert(std::ranges::all_of(kMainTypes, numbersWithoutGap, &TypeLayout::type));
static_assert(std::ranges::all_of(kMainTypes, [](const TypeLayout& row) {
    return row.type == TypeCode::HI || fieldsFillRecord(row.type);
}));

// Numbers by which the OPC UA server and configurations in the field know these attributes.
static_assert(numberOf(TypeCode::VA, "TZN") == 29);
static_assert(numberOf(TypeCode::AV, "ZD") == 21 && numberOf(TypeCode::AV, "PRM") == 39);
static_assert(numberOf(TypeCode::HI, "number.MAX") == 6 &&
              numberOf(TypeCode::HI, "number.TZN") == 8 && numberOf(TypeCode::HI, "ALARM") == 10 &&
              numberOf(TypeCode::HI, "SELF_SECT") == 11 &&
              numberOf(TypeCode::HI, "string.TZN") == 12 &&
              numberOf(TypeCode::HI, "string.COLOR") == 13 &&
              numberOf(TypeCode::HI, "boolean.TZN") == 14 &&
              numberOf(TypeCode::HI, "boolean.COLOR1") == 18 &&
              numberOf(TypeCode::HI, "boolean.KOP") == 0);
static_assert(numberOf(TypeCode::DI, "STATUS1.0") == 27 && numberOf(TypeCode::DI, "ALARM") == 28);
static_assert(numberOf(TypeCode::DO, "OUT") == 20);

// ---- attributes by number ------------------------------------------------------------------

void appendRun(const FieldRow& row, std::vector<Attribute>& to) {
    for (std::uint8_t i = 0; i < row.repeat; ++i) {
        Attribute attribute;
        attribute.number = static_cast<std::uint16_t>(row.number + i);
        attribute.name = row.name;
        attribute.storage = row.storage;
        attribute.meaning = row.meaning;
        attribute.offset = row.offset;
        attribute.bit = row.bit;
        if (row.storage == Storage::bit) {
            attribute.bit = static_cast<std::uint8_t>(row.bit + i);
            if (row.repeat > 1) attribute.name += "." + std::to_string(attribute.bit);
        } else if (row.repeat > 1) {
            attribute.offset =
                static_cast<std::uint16_t>(row.offset + i * elementSize(row.storage));
            attribute.name += "[" + std::to_string(i) + "]";
        }
        to.push_back(std::move(attribute));
    }
}

std::array<std::vector<Attribute>, kTypeCount> allAttributes() {
    std::array<std::vector<Attribute>, kTypeCount> all;
    for (const TypeLayout& type : kTypes) {
        auto& list = all[indexOf(type.type)];
        bool found = true;
        while (found) {
            found = false;
            for (const FieldRow& row : kFieldRows) {
                if (row.type != type.type || row.number != list.size() + 1) continue;
                appendRun(row, list);
                found = true;
                break;
            }
        }
    }
    return all;
}

}  // namespace

std::span<const Attribute> attributesOf(TypeCode type) {
    static const auto kAll = allAttributes();
    return kAll[indexOf(type)];
}

}  // namespace sim
