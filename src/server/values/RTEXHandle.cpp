#include "server/values/RTEXHandle.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

#include "lib/bd_vesk/bdvesk.h"
#include "server/opcua/OwnScalar.h"
#include "server/opcua/UaView.h"
#include "server/text/ToUTF8Converter.h"
#include "server/text/Utf8ToCP866Converter.h"
#include "server/values/TimeQuality.h"
#include "server/values/UARTEXVariable.h"

namespace {

/// Bytes of a text that are exchanged. The 17-byte text of a manual input is cut to them too.
constexpr std::size_t kTextBytes = 9;

SVariable address(VariableType type, int tagNumber, int attrNumber) {
    SVariable variable{};
    variable.type = kindOf(type).dbCode;
    variable.num = static_cast<std::uint16_t>(tagNumber);
    variable.num_atr = static_cast<std::uint16_t>(attrNumber);
    return variable;
}

// ---- Reading -----------------------------------------------------------------------------------

template <class T>
T loadAs(const UTypeValue& bytes) {
    T result{};
    static_assert(sizeof(result) <= sizeof(bytes));
    std::memcpy(&result, &bytes, sizeof(result));
    return result;
}

template <class T>
void setScalar(UA_Variant& value, const T& scalar, std::size_t typeIndex) {
    (void)setOwnScalar(value, scalar, typeIndex);  // without memory the client gets no value
}

void setText(UA_Variant& value, const UTypeValue& bytes) {
    char textCp866[kTextBytes];
    std::memcpy(textCp866, &bytes, kTextBytes);
    ToUTF8Converter converter;
    const std::string text =
        converter.convertCP866ToUtf8_manual(std::string(textCp866, kTextBytes));
    UA_String owned = UA_String_fromChars(text.c_str());
    if (!setOwnScalar(value, owned, UA_TYPES_STRING)) UA_String_clear(&owned);
}

void setByType(UA_Variant& value, TYPE_VAL type, const UTypeValue& bytes) {
    switch (type) {
        case type_char:
            return setScalar(value, loadAs<UA_SByte>(bytes), UA_TYPES_SBYTE);
        case type_uchar:
            return setScalar(value, loadAs<UA_Byte>(bytes), UA_TYPES_BYTE);
        // KEPT: of a 16-bit value only the low byte is published, 300 reads as 44. Required by the
        // interface; see docs/values.md.
        case type_short:
            return setScalar<UA_Int16>(value, loadAs<std::uint8_t>(bytes), UA_TYPES_INT16);
        case type_ushort:
            return setScalar<UA_UInt16>(value, loadAs<std::uint8_t>(bytes), UA_TYPES_UINT16);
        case type_int:
            return setScalar(value, loadAs<UA_Int32>(bytes), UA_TYPES_INT32);
        case type_uint:
            return setScalar(value, loadAs<UA_UInt32>(bytes), UA_TYPES_UINT32);
        case type_float:
            return setScalar(value, loadAs<UA_Float>(bytes), UA_TYPES_FLOAT);
        case type_str9:
        case type_str17:
            return setText(value, bytes);
        case none:
            return;
    }
}

// ---- Writing -----------------------------------------------------------------------------------

template <class T>
SVal tagged(TYPE_VAL type, T scalar) {
    SVal result{};
    result.type_val = type;
    static_assert(sizeof(scalar) <= sizeof(result.value));
    std::memcpy(static_cast<void*>(&result.value), &scalar, sizeof(scalar));
    return result;
}

/// The number of a variant as the database accepts it; type `none` when it does not accept the
/// type.
SVal numberFrom(const UA_Variant& value) {
    const auto scalar = [&]<class T>(T) { return *static_cast<const T*>(value.data); };
    if (value.type == &UA_TYPES[UA_TYPES_SBYTE]) return tagged(type_char, scalar(UA_SByte{}));
    if (value.type == &UA_TYPES[UA_TYPES_BYTE]) return tagged(type_uchar, scalar(UA_Byte{}));
    if (value.type == &UA_TYPES[UA_TYPES_INT16]) return tagged(type_short, scalar(UA_Int16{}));
    if (value.type == &UA_TYPES[UA_TYPES_UINT16]) {
        return tagged<UA_UInt32>(type_uint, scalar(UA_UInt16{}));
    }
    if (value.type == &UA_TYPES[UA_TYPES_INT32]) return tagged(type_int, scalar(UA_Int32{}));
    if (value.type == &UA_TYPES[UA_TYPES_UINT32]) return tagged(type_uint, scalar(UA_UInt32{}));
    if (value.type == &UA_TYPES[UA_TYPES_FLOAT]) return tagged(type_float, scalar(UA_Float{}));
    return tagged<char>(none, 0);
}

/// KEPT: the bytes of the text, tagged with the attribute's own type even when that is a number;
/// the database then takes the first bytes for the number. Required by the interface.
SVal textFrom(const UA_String& text, TYPE_VAL attributeType) {
    // Converts no more than can matter, because a client may send a long text when memory is short.
    constexpr std::size_t kMostUtf8Bytes = 3;  // that the converter takes for one byte
    const std::string utf8(textOf(text).substr(0, kTextBytes * kMostUtf8Bytes));
    Utf8ToCP866Converter converter;
    const std::string cp866 = converter.convertUtf8ToCP866_manual(utf8);
    SVal result{};
    result.type_val = attributeType;
    std::memcpy(static_cast<void*>(&result.value), cp866.data(),
                std::min(cp866.size(), kTextBytes));
    return result;
}

}  // namespace

void RTEXHandle::getValueByAttrNumber(int attrNumber, VariableType type, int tagNumber,
                                      UA_Variant& value, unsigned& statusCode, long& sourceTime) {
    SReading reading;  // zeros: what a failed read publishes
    UARTEXVariable::veskdb.Read(kindOf(type).dbCode, static_cast<std::uint16_t>(tagNumber),
                                static_cast<std::uint16_t>(attrNumber), &reading);
    sourceTime = timevalToUaDateTimeOperative(reading.time);
    statusCode = ::qualityConvertFromDA(reading.quality);
    setByType(value, reading.type_atr, reading.val.value);
}

void RTEXHandle::setValueByAttrNumber(int attrNumber, VariableType type, int tagNumber,
                                      const UA_Variant& value) {
    // A check of `data` would not do: an empty array has a sentinel there, which must not be read.
    if (!UA_Variant_isScalar(&value)) return;
    CVeskBDSh& db = UARTEXVariable::veskdb;
    SVariable variable = address(type, tagNumber, attrNumber);

    if (value.type == &UA_TYPES[UA_TYPES_STRING]) {
        const auto& text = *static_cast<const UA_String*>(value.data);
        (void)db.setDat(variable, textFrom(text, db.getTypeAtr(variable)));
        return;
    }
    const SVal number = numberFrom(value);
    if (number.type_val == none) return;
    if (attrNumber == kindOf(type).currentValueAttribute) variable.num_atr = 0;
    (void)db.setDat(variable, number);  // the client is not informed of a refusal
}

UA_StatusCode RTEXHandle::qualityConvertFromDA(unsigned quality) {
    return ::qualityConvertFromDA(quality);
}
