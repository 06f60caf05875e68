#include "lib/bd_vesk/bdvstype.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

static_assert(std::endian::native == std::endian::little, "a number's low bytes come first");

/// The source of an assignment, read once: every destination type is made from one of these.
struct Reading {
    ValueForm form = ValueForm::nothing;
    std::int64_t integer = 0;
    double real = 0;
    std::size_t textSize = 0;
    std::array<char, sizeof(UTypeValue) + 1> text{};  // NUL-terminated, whatever the field holds
};

std::int64_t integerOf(const UTypeValue& value, const ValueType& type) {
    std::uint64_t bytes = 0;
    std::memcpy(&bytes, &value, type.size);
    if (type.form == ValueForm::unsignedInteger) return static_cast<std::int64_t>(bytes);
    const auto spare = static_cast<int>(8 * (sizeof(bytes) - type.size));
    return static_cast<std::int64_t>(bytes << spare) >> spare;
}

double realOf(const UTypeValue& value, const ValueType& type) {
    if (type.size == sizeof(value.fl)) return static_cast<double>(value.fl);
    double real = 0;
    std::memcpy(&real, &value, sizeof(real));
    return real;
}

Reading readingOf(const SVal& src) {
    const ValueType& type = valueTypeRow(src.type_val);
    Reading reading;
    reading.form = type.form;
    switch (type.form) {
        case ValueForm::signedInteger:
        case ValueForm::unsignedInteger:
            reading.integer = integerOf(src.value, type);
            break;
        case ValueForm::real:
            reading.real = realOf(src.value, type);
            break;
        case ValueForm::text:
            reading.textSize = type.size;
            std::memcpy(reading.text.data(), &src.value, type.size);
            break;
        case ValueForm::nothing:
            break;
    }
    return reading;
}

/// Truncates toward zero; saturates at the limits of Int, 0 for what is not a number.
template <class Int>
Int truncated(double value) {
    static_assert(sizeof(Int) == 4);
    using Limits = std::numeric_limits<Int>;
    if (std::isnan(value)) return 0;
    if (value >= static_cast<double>(Limits::max())) return Limits::max();
    if (value <= static_cast<double>(Limits::min())) return Limits::min();
    return static_cast<Int>(value);
}

/// The reading as an integer, of which the destination takes the low bytes.
/// @param Wide  32-bit type at whose limits a float saturates
template <class Wide>
std::int64_t asInteger(const Reading& from) {
    if (from.form == ValueForm::real) return truncated<Wide>(from.real);
    // As atoi on the controller: the digits are read as a long and cut to an int.
    if (from.form == ValueForm::text)
        return static_cast<std::int32_t>(std::strtol(from.text.data(), nullptr, 10));
    return from.integer;
}

double asReal(const Reading& from) {
    if (from.form == ValueForm::real) return from.real;
    if (from.form == ValueForm::text) return std::strtod(from.text.data(), nullptr);
    return static_cast<double>(from.integer);
}

void putReal(UTypeValue& to, std::size_t size, double real) {
    const auto single = static_cast<float>(real);
    if (size == sizeof(single))
        std::memcpy(static_cast<void*>(&to), &single, sizeof(single));
    else
        std::memcpy(static_cast<void*>(&to), &real, sizeof(real));
}

/// Fills a text field of `size` bytes. A text copied from a shorter field leaves the rest of it as
/// it was; a number fills it with zeros.
void putText(UTypeValue& to, std::size_t size, const Reading& from) {
    if (from.form == ValueForm::text) {
        std::memcpy(&to, from.text.data(), std::min(size, from.textSize));
        return;
    }
    std::array<char, sizeof(UTypeValue) + 4> digits{};  // all that an int64 may need
    std::to_chars(digits.data(), digits.data() + digits.size(), asInteger<std::int32_t>(from));
    std::memcpy(&to, digits.data(), size);
}

void put(SVal& to, const Reading& from) {
    const ValueType& type = valueTypeRow(to.type_val);
    switch (type.form) {
        case ValueForm::signedInteger:
        case ValueForm::unsignedInteger: {
            const std::int64_t integer = type.form == ValueForm::signedInteger
                                             ? asInteger<std::int32_t>(from)
                                             : asInteger<std::uint32_t>(from);
            std::memcpy(static_cast<void*>(&to.value), &integer, type.size);
            break;
        }
        case ValueForm::real:
            putReal(to.value, type.size, asReal(from));
            break;
        case ValueForm::text:
            putText(to.value, type.size, from);
            break;
        case ValueForm::nothing:
            break;
    }
}

}  // namespace

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): a value has its own form, so its bytes stay
SVal& SVal::operator=(const SVal& src) {
    if (type_val == none) type_val = src.type_val;
    const ValueType& from = valueTypeRow(src.type_val);
    const ValueType& to = valueTypeRow(type_val);
    if (from.form == to.form && from.size == to.size)
        std::memmove(static_cast<void*>(&value), &src.value, to.size);  // every bit, of NaN too
    else if (from.form != ValueForm::nothing)
        put(*this, readingOf(src));
    return *this;
}
