#include "tools/client/format.h"

#include <open62541/types_generated.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <limits>

#include "server/opcua/UaHandle.h"
#include "server/opcua/UaView.h"
#include "tools/text/text.h"

namespace tools {

namespace {

constexpr std::size_t kShownElements = 8;

std::string fromUa(const UA_String& text) {
    return printable(textOf(text));
}

std::string printed(const char* format, double number) {
    if (std::isnan(number)) return "nan";  // printf distinguishes "-nan", which means nothing
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), format, number);
    return text.data();
}

/// The library's JSON on one line; a text alone without its quotes.
std::string onOneLine(std::string_view json) {
    std::string line;
    for (const char letter : json) {
        if (letter == '\n' || letter == '\t') continue;
        line += letter;
        if (letter == ',') line += ' ';
    }
    const bool quoted = line.size() >= 2 && line.front() == '"' && line.back() == '"';
    return quoted ? line.substr(1, line.size() - 2) : line;
}

/// The library's own text, for types that need nothing special.
std::string printedByLibrary(const void* element, const UA_DataType* type) {
    constexpr int kMostColumns = 200;
    OwnedString text;
    if (UA_print(element, type, text.get()) != UA_STATUSCODE_GOOD) return "?";
    const std::string all = printable(onOneLine(textOf(*text)));
    return displayWidth(all) > kMostColumns ? fitted(all, kMostColumns) : all;
}

std::string formatElement(const void* element, const UA_DataType* type) {
    switch (type->typeKind) {
        case UA_DATATYPEKIND_FLOAT:
            return printed("%.7g", static_cast<double>(*static_cast<const UA_Float*>(element)));
        case UA_DATATYPEKIND_DOUBLE:
            return printed("%.7g", *static_cast<const UA_Double*>(element));
        case UA_DATATYPEKIND_STRING:
            return fromUa(*static_cast<const UA_String*>(element));
        case UA_DATATYPEKIND_LOCALIZEDTEXT:
            return fromUa(static_cast<const UA_LocalizedText*>(element)->text);
        case UA_DATATYPEKIND_DATETIME:
            return formatTime(*static_cast<const UA_DateTime*>(element));
        case UA_DATATYPEKIND_STATUSCODE:
            return formatQuality(*static_cast<const UA_StatusCode*>(element));
        default:
            return printedByLibrary(element, type);
    }
}

}  // namespace

std::string formatValue(const UA_Variant& value) {
    if (UA_Variant_isEmpty(&value)) return "—";
    if (UA_Variant_isScalar(&value)) return formatElement(value.data, value.type);
    std::string result = "[";
    const auto* element = static_cast<const char*>(value.data);
    const std::size_t shown = std::min(value.arrayLength, kShownElements);
    for (std::size_t i = 0; i < shown; ++i, element += value.type->memSize) {
        if (i > 0) result += ", ";
        result += formatElement(element, value.type);
    }
    if (shown < value.arrayLength) {
        result += ", …] (" + std::to_string(value.arrayLength) + ")";
    } else {
        result += "]";
    }
    return result;
}

namespace {

template <class T>
double numberAs(const UA_Variant& value) {
    return static_cast<double>(*static_cast<const T*>(value.data));
}

}  // namespace

double numberOf(const UA_Variant& value) {
    using Reader = double (*)(const UA_Variant&);
    static constexpr std::array<Reader, 11> kReaders{
        // by type kind, Boolean is 0
        numberAs<UA_Boolean>, numberAs<UA_SByte>, numberAs<UA_Byte>,   numberAs<UA_Int16>,
        numberAs<UA_UInt16>,  numberAs<UA_Int32>, numberAs<UA_UInt32>, numberAs<UA_Int64>,
        numberAs<UA_UInt64>,  numberAs<UA_Float>, numberAs<UA_Double>};
    static_assert(UA_DATATYPEKIND_BOOLEAN == 0 && UA_DATATYPEKIND_DOUBLE == 10);
    const bool number = UA_Variant_isScalar(&value) && value.type->typeKind < kReaders.size();
    return number ? kReaders[value.type->typeKind](value)
                  : std::numeric_limits<double>::quiet_NaN();
}

bool isNumber(const UA_Variant& value) {
    return UA_Variant_isScalar(&value) && value.type->typeKind >= UA_DATATYPEKIND_SBYTE &&
           value.type->typeKind <= UA_DATATYPEKIND_DOUBLE;
}

std::string formatQuality(UA_StatusCode status) {
    // The low half holds flags (limits, overflow of a queue), not the reason.
    const UA_StatusCode reason = status & 0xFFFF0000U;
    const std::string_view name = UA_StatusCode_name(reason);
    if (name.find(' ') == std::string_view::npos) return std::string{name};
    std::array<char, 16> digits{};
    std::snprintf(digits.data(), digits.size(), "0x%08X", static_cast<unsigned>(status));
    return digits.data();
}

std::string formatTime(UA_DateTime time) {
    constexpr UA_DateTime kTicksPerMs = 10'000;
    // Divided first: the earliest time minus the epoch is no 64-bit number.
    const UA_DateTime ms = time / kTicksPerMs - UA_DATETIME_UNIX_EPOCH / kTicksPerMs;
    const auto seconds = static_cast<std::time_t>(ms >= 0 ? ms / 1000 : (ms - 999) / 1000);
    std::tm local{};
    if (localtime_r(&seconds, &local) == nullptr) return "?";
    std::array<char, 64> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &local);
    std::snprintf(text.data() + length, text.size() - length, ".%03d",
                  static_cast<int>(ms - static_cast<UA_DateTime>(seconds) * 1000));
    return text.data();
}

}  // namespace tools
