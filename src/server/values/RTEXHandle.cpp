#include "server/values/RTEXHandle.h"

#include <algorithm>
#include <array>
#include <bit>
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

/// How a value type of the database and an OPC UA type correspond.
struct Exchange {
    TYPE_VAL type;
    std::size_t publishedAs;      ///< index into UA_TYPES
    std::uint64_t publishedMask;  ///< bits of a number that are published; 0: it is a text
    TYPE_VAL writtenAs;           ///< none: a text takes the attribute's own type
};

constexpr std::uint64_t kByte = 0xFF;
constexpr std::uint64_t kFourBytes = 0xFFFF'FFFF;

// clang-format off
constexpr auto kExchanges = std::to_array<Exchange>({
    {none,        UA_TYPES_COUNT,  0,          none},
    {type_char,   UA_TYPES_SBYTE,  kByte,      type_char},
    {type_uchar,  UA_TYPES_BYTE,   kByte,      type_uchar},
    // KEPT: of a 16-bit value only the low byte is published, 300 reads as 44. Required by the
    // interface; see docs/values.md.
    {type_short,  UA_TYPES_INT16,  kByte,      type_short},
    {type_ushort, UA_TYPES_UINT16, kByte,      type_uint},
    {type_int,    UA_TYPES_INT32,  kFourBytes, type_int},
    {type_uint,   UA_TYPES_UINT32, kFourBytes, type_uint},
    {type_float,  UA_TYPES_FLOAT,  kFourBytes, type_float},
    {type_str9,   UA_TYPES_STRING, 0,          none},
    {type_str17,  UA_TYPES_STRING, 0,          none},
});
// clang-format on

constexpr bool exchangesInOrder() {
    for (std::size_t i = 0; i < kExchanges.size(); ++i) {
        if (kExchanges[i].type != kValueTypes[i].type) return false;
    }
    return kExchanges.size() == kValueTypes.size();
}
static_assert(exchangesInOrder(), "kExchanges is indexed by TYPE_VAL");

// ---- Reading -----------------------------------------------------------------------------------

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
    if (type == none) return;
    const Exchange& exchange = kExchanges[static_cast<std::size_t>(type)];
    if (exchange.publishedMask == 0) return setText(value, bytes);
    // The low bytes come first, so one load and one store serve numbers of every size. The library
    // reads as many bytes as the type has.
    std::uint64_t number = 0;
    std::memcpy(&number, &bytes, sizeof(number));
    using Bytes = std::array<std::uint8_t, sizeof(number)>;
    const auto published = std::bit_cast<Bytes>(number & exchange.publishedMask);
    // Without memory the client gets no value.
    (void)setOwnScalar(value, published, exchange.publishedAs);
}

// ---- Writing -----------------------------------------------------------------------------------

/// The number of a variant as the database accepts it; type `none` when it does not accept the
/// type.
SVal numberFrom(const UA_Variant& value) {
    SVal result;
    for (const Exchange& exchange : kExchanges) {
        if (exchange.writtenAs == none || value.type != &UA_TYPES[exchange.publishedAs]) continue;
        result.type_val = exchange.writtenAs;
        std::memcpy(static_cast<void*>(&result.value), value.data, value.type->memSize);
        break;
    }
    return result;
}

/// KEPT: the bytes of the text, tagged with the attribute's own type even when that is a number;
/// the database then takes the first bytes for the number. Required by the interface.
SVal textFrom(const UA_String& text, TYPE_VAL attributeType) {
    // Converts no more than can matter, because a client may send a long text when memory is short.
    constexpr std::size_t kMostUtf8Bytes = 3;  // that the converter takes for one byte
    const std::string utf8(textOf(text).substr(0, kTextBytes * kMostUtf8Bytes));
    Utf8ToCP866Converter converter;
    const std::string cp866 = converter.convertUtf8ToCP866_manual(utf8);
    SVal result(attributeType);
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
