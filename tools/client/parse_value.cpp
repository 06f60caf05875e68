#include "tools/client/parse_value.h"

#include <open62541/types_generated.h>

#include <array>
#include <charconv>
#include <cmath>
#include <ctime>
#include <limits>

#include "server/opcua/UaView.h"
#include "tools/client/format.h"
#include "tools/client/json.h"
#include "tools/text/text.h"

namespace tools {

std::optional<UA_DateTime> parseTime(const std::string& text) {
    std::tm fields{};
    int milliseconds = 0;
    std::string rest = text;
    const bool utc = !rest.empty() && rest.back() == 'Z';
    if (utc) rest.pop_back();
    const auto dot = rest.find('.');
    if (dot != std::string::npos) {
        const char* end = rest.data() + rest.size();
        const auto [stop, error] = std::from_chars(rest.data() + dot + 1, end, milliseconds);
        if (error != std::errc{} || stop != end || rest.size() - dot != 4 || milliseconds < 0) {
            return std::nullopt;
        }
        rest.resize(dot);
    }
    for (const char* format : {"%Y-%m-%d %H:%M:%S", "%Y-%m-%dT%H:%M:%S", "%Y-%m-%d %H:%M",
                               "%Y-%m-%dT%H:%M", "%Y-%m-%d"}) {
        fields = {};
        const char* end = strptime(rest.c_str(), format, &fields);
        if (end == nullptr || *end != '\0') continue;
        const std::tm given = fields;
        fields.tm_isdst = -1;
        const std::time_t seconds = utc ? timegm(&fields) : std::mktime(&fields);
        // A day that the month does not have was changed to another one.
        if (fields.tm_mday != given.tm_mday || fields.tm_sec != given.tm_sec) return std::nullopt;
        return UA_DateTime_fromUnixTime(seconds) + milliseconds * UA_DATETIME_MSEC;
    }
    return std::nullopt;
}

namespace {

/// Stores what the text says at `element`, which is empty and of the type.
/// @return false if the text is no such value
using Parser = bool (*)(const std::string& text, void* element);

template <class T>
bool parseNumber(const std::string& text, void* element) {
    std::string number = text;
    if (std::is_floating_point_v<T> && number.find('.') == std::string::npos) {
        const std::size_t comma = number.find(',');
        if (comma != std::string::npos) number[comma] = '.';
    }
    const char* end = number.data() + number.size();
    T parsed{};
    const auto [rest, error] = std::from_chars(number.data(), end, parsed);
    if (error != std::errc{} || rest != end) return false;
    *static_cast<T*>(element) = parsed;
    return true;
}

bool parseBoolean(const std::string& text, void* element) {
    static constexpr struct {
        const char* text;
        bool value;
    } kWords[] = {{"true", true}, {"false", false}, {"да", true},
                  {"нет", false}, {"1", true},      {"0", false}};
    const std::string word = lowered(text);
    for (const auto& known : kWords) {
        if (word != known.text) continue;
        *static_cast<UA_Boolean*>(element) = known.value;
        return true;
    }
    return false;
}

bool parseDateTime(const std::string& text, void* element) {
    const auto time = parseTime(text);
    if (time) *static_cast<UA_DateTime*>(element) = *time;
    return time.has_value();
}

bool parseString(const std::string& text, void* element) {
    const UA_String view = uaView(text);
    return UA_String_copy(&view, static_cast<UA_String*>(element)) == UA_STATUSCODE_GOOD;
}

bool parseLocalizedText(const std::string& text, void* element) {
    return parseString(text, &static_cast<UA_LocalizedText*>(element)->text);
}

template <class T>
std::string rangeOf() {
    return std::to_string(std::numeric_limits<T>::min()) + ".." +
           std::to_string(std::numeric_limits<T>::max());
}

std::string noRange() {
    return {};
}

struct Writable {
    UA_UInt32 kind;
    Parser parse;
    Text expected;
    std::string (*range)() = noRange;
};

constexpr Text kWhole{"целое число из ", "a whole number in "};
constexpr Text kNumber{"число", "a number"};
constexpr Text kText{"текст", "a text"};
constexpr Text kTruth{"да, нет, true, false, 1 или 0", "true, false, 1 or 0"};
constexpr Text kTime{"время вида 2026-11-21 12:33:10 (с Z — UTC)",
                     "a time like 2026-11-21 12:33:10 (Z: UTC)"};

template <class T>
constexpr Writable wholeNumber(UA_UInt32 kind) {
    return {kind, parseNumber<T>, kWhole, rangeOf<T>};
}

constexpr Writable kWritable[] = {
    {UA_DATATYPEKIND_BOOLEAN, parseBoolean, kTruth},
    wholeNumber<UA_SByte>(UA_DATATYPEKIND_SBYTE),
    wholeNumber<UA_Byte>(UA_DATATYPEKIND_BYTE),
    wholeNumber<UA_Int16>(UA_DATATYPEKIND_INT16),
    wholeNumber<UA_UInt16>(UA_DATATYPEKIND_UINT16),
    wholeNumber<UA_Int32>(UA_DATATYPEKIND_INT32),
    wholeNumber<UA_UInt32>(UA_DATATYPEKIND_UINT32),
    wholeNumber<UA_Int64>(UA_DATATYPEKIND_INT64),
    wholeNumber<UA_UInt64>(UA_DATATYPEKIND_UINT64),
    {UA_DATATYPEKIND_FLOAT, parseNumber<UA_Float>, kNumber},
    {UA_DATATYPEKIND_DOUBLE, parseNumber<UA_Double>, kNumber},
    {UA_DATATYPEKIND_STRING, parseString, kText},
    {UA_DATATYPEKIND_DATETIME, parseDateTime, kTime},
    {UA_DATATYPEKIND_LOCALIZEDTEXT, parseLocalizedText, kText},
};

const Writable* writableOf(const UA_DataType& type) {
    for (const Writable& writable : kWritable) {
        if (writable.kind == type.typeKind) return &writable;
    }
    return nullptr;
}

}  // namespace

namespace {

std::string quoted(const std::string& text) {
    return "\"" + printable(text) + "\"";
}

std::string parseElement(const std::string& text, const Writable& as, Language language,
                         void* element) {
    static constexpr Text kExpected{": требуется ", ": expected "};
    if (as.parse(text, element)) return {};
    return quoted(text) + kExpected.in(language) + as.expected.in(language) + as.range();
}

std::string parseArray(const std::string& text, const UA_DataType& type, const Writable& as,
                       Language language, OwnedVariant& value) {
    static constexpr Text kExpected{": требуется массив JSON, например [1, 2]",
                                    ": expected a JSON array such as [1, 2]"};
    const Json json = parsedJson(text, 1);
    if (!json.is_array()) return quoted(text) + kExpected.in(language);
    auto* element = static_cast<char*>(UA_Array_new(json.size(), &type));
    if (element == nullptr) return formatQuality(UA_STATUSCODE_BADOUTOFMEMORY);
    OwnedVariant array;
    UA_Variant_setArray(array.get(), element, json.size(), &type);
    for (const auto& item : json) {
        const std::string word = item.is_string() ? item.get<std::string>() : item.dump();
        std::string problem = parseElement(word, as, language, element);
        if (!problem.empty()) return problem;
        element += type.memSize;
    }
    value = std::move(array);
    return {};
}

}  // namespace

std::string parseValue(const std::string& text, const UA_DataType& type, bool array,
                       Language language, OwnedVariant& value) {
    static constexpr Text kUnknown{"значения этого типа программа записывать не умеет: ",
                                   "this program cannot write values of this type: "};
    const Writable* as = writableOf(type);
    if (as == nullptr) return kUnknown.in(language) + type.typeName;
    if (array) return parseArray(text, type, *as, language, value);
    OwnedVariant scalar;
    UA_Variant_setScalar(scalar.get(), UA_new(&type), &type);
    if (scalar->data == nullptr) return formatQuality(UA_STATUSCODE_BADOUTOFMEMORY);
    std::string problem = parseElement(text, *as, language, scalar->data);
    if (problem.empty()) value = std::move(scalar);
    return problem;
}

}  // namespace tools
