#include "lib/bd_vesk/bdvstype.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string_view>

namespace {

/// The source of an assignment, read once: every destination type is made from one of these.
struct Reading {
    enum class Kind { nothing, integer, real, text };
    Kind kind = Kind::nothing;
    std::int64_t integer = 0;
    float real = 0;
    std::size_t textSize = 0;
    std::array<char, sizeof(UTypeValue) + 1> text{};  // NUL-terminated, whatever the field holds
};

Reading integerReading(std::int64_t value) {
    Reading reading;
    reading.kind = Reading::Kind::integer;
    reading.integer = value;
    return reading;
}

Reading realReading(float value) {
    Reading reading;
    reading.kind = Reading::Kind::real;
    reading.real = value;
    return reading;
}

Reading textReading(const UTypeValue& value, std::size_t size) {
    Reading reading;
    reading.kind = Reading::Kind::text;
    reading.textSize = size;
    std::memcpy(reading.text.data(), &value, size);
    return reading;
}

Reading readingOf(const SVal& src) {
    switch (src.type_val) {
        // KEPT: a char is read as unsigned, so -1 counts as 255. Required by the interface.
        case type_char:
        case type_uchar:
            return integerReading(src.value.uch);
        case type_short:
            return integerReading(src.value.sh);
        case type_ushort:
            return integerReading(src.value.ush);
        case type_int:
            return integerReading(src.value.i);
        case type_uint:
            return integerReading(src.value.ui);
        case type_float:
            return realReading(src.value.fl);
        case type_str9:
            return textReading(src.value, sizeof(src.value.str9));
        case type_str17:
            return textReading(src.value, sizeof(src.value.str17));
        case none:
            break;
    }
    return {};
}

/// Truncates toward zero; saturates at the limits of Int, 0 for what is not a number.
template <class Int>
Int truncated(float value) {
    static_assert(sizeof(Int) == 4);
    using Limits = std::numeric_limits<Int>;
    if (std::isnan(value)) return 0;
    // The largest Int cannot be represented as a float; the power of two above it can.
    if (value >= static_cast<float>(Limits::max())) return Limits::max();
    if (value <= static_cast<float>(Limits::min())) return Limits::min();
    return static_cast<Int>(value);
}

/// The reading as an integer, of which the destination takes the low bytes.
/// @param Wide  32-bit type at whose limits a float saturates
template <class Wide>
std::int64_t asInteger(const Reading& from) {
    switch (from.kind) {
        case Reading::Kind::integer:
            return from.integer;
        case Reading::Kind::real:
            return truncated<Wide>(from.real);
        // As atoi on the controller: the digits are read as a long and cut to an int.
        case Reading::Kind::text:
            return static_cast<std::int32_t>(std::strtol(from.text.data(), nullptr, 10));
        case Reading::Kind::nothing:
            break;
    }
    return 0;
}

float asFloat(const Reading& from) {
    switch (from.kind) {
        case Reading::Kind::integer:
            return static_cast<float>(from.integer);
        case Reading::Kind::real:
            return from.real;
        case Reading::Kind::text:
            return static_cast<float>(std::strtod(from.text.data(), nullptr));
        case Reading::Kind::nothing:
            break;
    }
    return 0;
}

/// Fills a text field of `size` bytes. A text copied from a shorter field leaves the rest of it as
/// it was; a number fills it with zeros.
void putText(UTypeValue& to, std::size_t size, const Reading& from) {
    if (from.kind == Reading::Kind::text) {
        std::memcpy(&to, from.text.data(), std::min(size, from.textSize));
        return;
    }
    std::array<char, sizeof(UTypeValue)> digits{};
    std::to_chars(digits.data(), digits.data() + digits.size(), asInteger<std::int32_t>(from));
    std::memcpy(&to, digits.data(), size);
}

void put(SVal& to, const Reading& from) {
    switch (to.type_val) {
        case type_char:
        case type_uchar:
            to.value.uch = static_cast<std::uint8_t>(asInteger<std::uint32_t>(from));
            break;
        case type_short:
            to.value.sh = static_cast<std::int16_t>(asInteger<std::int32_t>(from));
            break;
        case type_ushort:
            to.value.ush = static_cast<std::uint16_t>(asInteger<std::uint32_t>(from));
            break;
        case type_int:
            to.value.i = static_cast<std::int32_t>(asInteger<std::int32_t>(from));
            break;
        case type_uint:
            to.value.ui = static_cast<std::uint32_t>(asInteger<std::uint32_t>(from));
            break;
        case type_float:
            to.value.fl = asFloat(from);
            break;
        case type_str9:
            putText(to.value, sizeof(to.value.str9), from);
            break;
        case type_str17:
            putText(to.value, sizeof(to.value.str17), from);
            break;
        case none:
            break;
    }
}

}  // namespace

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): the source is read before anything is written
SVal& SVal::operator=(const SVal& src) {
    if (type_val == none) type_val = src.type_val;
    const Reading from = readingOf(src);
    if (from.kind != Reading::Kind::nothing) put(*this, from);
    return *this;
}
