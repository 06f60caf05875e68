#include "tools/client/json.h"

#include <open62541/types_generated.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "server/opcua/UaView.h"
#include "tools/client/format.h"

namespace tools {

namespace {

template <class T>
const T& as(const void* element) {
    return *static_cast<const T*>(element);
}

/// The shortest number that is this float: 0.1 is to stay 0.1.
Json jsonOfFloat(float number) {
    std::array<char, 32> digits{};
    for (int precision = 1; precision <= std::numeric_limits<float>::max_digits10; ++precision) {
        std::snprintf(digits.data(), digits.size(), "%.*g", precision, static_cast<double>(number));
        if (std::strtof(digits.data(), nullptr) == number) break;
    }
    return std::strtod(digits.data(), nullptr);
}

Json jsonOfElement(const void* element, const UA_DataType* type) {
    switch (type->typeKind) {
        case UA_DATATYPEKIND_BOOLEAN:
            return as<UA_Boolean>(element);
        case UA_DATATYPEKIND_SBYTE:
            return static_cast<int>(as<UA_SByte>(element));
        case UA_DATATYPEKIND_BYTE:
            return static_cast<int>(as<UA_Byte>(element));
        case UA_DATATYPEKIND_INT16:
            return as<UA_Int16>(element);
        case UA_DATATYPEKIND_UINT16:
            return as<UA_UInt16>(element);
        case UA_DATATYPEKIND_INT32:
            return as<UA_Int32>(element);
        case UA_DATATYPEKIND_UINT32:
            return as<UA_UInt32>(element);
        case UA_DATATYPEKIND_INT64:
            return as<UA_Int64>(element);
        case UA_DATATYPEKIND_UINT64:
            return as<UA_UInt64>(element);
        case UA_DATATYPEKIND_FLOAT:
            return jsonOfFloat(as<UA_Float>(element));
        case UA_DATATYPEKIND_DOUBLE:
            return as<UA_Double>(element);
        case UA_DATATYPEKIND_STRING:
            return std::string{textOf(as<UA_String>(element))};
        case UA_DATATYPEKIND_LOCALIZEDTEXT:
            return std::string{textOf(as<UA_LocalizedText>(element).text)};
        case UA_DATATYPEKIND_DATETIME:
            return isoTime(as<UA_DateTime>(element));
        default: {
            UA_Variant scalar{};
            UA_Variant_setScalar(&scalar, const_cast<void*>(element), type);
            return formatValue(scalar);
        }
    }
}

}  // namespace

Json jsonOf(const UA_Variant& value) {
    if (UA_Variant_isEmpty(&value)) return nullptr;
    if (UA_Variant_isScalar(&value)) return jsonOfElement(value.data, value.type);
    Json array = Json::array();
    const auto* element = static_cast<const char*>(value.data);
    for (std::size_t i = 0; i < value.arrayLength; ++i, element += value.type->memSize)
        array.push_back(jsonOfElement(element, value.type));
    return array;
}

Json parsedJson(const std::string& text, int mostDepth) {
    bool isTooDeep = false;
    const auto isKept = [&](int depth, Json::parse_event_t /*event*/, const Json& /*value*/) {
        isTooDeep |= depth > mostDepth;
        return !isTooDeep;
    };
    Json json = Json::parse(text, isKept, false);
    if (isTooDeep) json = Json(Json::value_t::discarded);
    return json;
}

std::string isoTime(UA_DateTime time) {
    const UA_DateTimeStruct parts = UA_DateTime_toStruct(time);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02u:%02u:%02u.%03u%03uZ", parts.year,
                  unsigned{parts.month}, unsigned{parts.day}, unsigned{parts.hour},
                  unsigned{parts.min}, unsigned{parts.sec}, unsigned{parts.milliSec},
                  unsigned{parts.microSec});
    return text.data();
}

std::string jsonLine(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace tools
