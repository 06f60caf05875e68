// The real-time database with any answers to the type query, any contents and any sizes of its
// segments, and the exchange of its values with OPC UA both ways.

#include <open62541/types.h>

#include "fuzz/support/fuzzing.h"
#include "fuzz/support/ipc_in_process.h"
#include "lib/bd_vesk/bdvesk.h"
#include "server/history/ArchiveTime.h"
#include "server/history/ArchivedValue.h"
#include "server/opcua/UaHandle.h"
#include "server/opcua/UaView.h"
#include "server/values/RTEXHandle.h"
#include "server/values/UARTEXVariable.h"

namespace {

constexpr int kCountsIndex = 59;
constexpr int kTqfIndex = 85;

CVeskBDSh& db() {
    return UARTEXVariable::veskdb;
}

// ---- The controller ----------------------------------------------------------------------------

std::vector<std::uint8_t> filled(FuzzedDataProvider& in, std::size_t size) {
    return std::vector<std::uint8_t>(size, in.ConsumeIntegral<std::uint8_t>());
}

void layOut(FuzzedDataProvider& in) {
    auto& segments = controller.segments;
    segments.clear();
    for (const TableRow& row : kTables) {
        const auto count = in.ConsumeIntegralInRange<std::size_t>(0, 4);
        segments[row.passportIndex] = filled(in, count * row.passportSize);
        for (const int index : {row.curDatIndex, row.curValIndex})
            if (index != 0) segments[index] = filled(in, count * valueSize(row.valueType));
    }
    segments[kCountsIndex] = std::vector<std::uint8_t>(26);
    in.ConsumeData(segments[kCountsIndex].data(), in.ConsumeIntegralInRange<std::size_t>(0, 10));
    segments[kTqfIndex] = filled(in, sizeof(TQF) * in.ConsumeIntegralInRange<std::size_t>(0, 32));
    controller.replies.resize(in.ConsumeIntegralInRange<std::size_t>(0, kTypeCount));
    for (DB_REPLY& reply : controller.replies)
        reply = {
            {}, in.ConsumeIntegral<std::uint32_t>(), {}, in.ConsumeIntegral<std::uint32_t>(), {}};
}

// ---- By address --------------------------------------------------------------------------------

SVariable address(FuzzedDataProvider& in) {
    return {in.ConsumeIntegralInRange<std::uint8_t>(0, 13), in.ConsumeIntegral<std::uint16_t>(),
            in.ConsumeIntegral<std::uint16_t>()};
}

SVal value(FuzzedDataProvider& in) {
    SVal value(static_cast<TYPE_VAL>(in.ConsumeIntegralInRange(0, 10)));
    in.ConsumeData(&value.value, sizeof(value.value));
    return value;
}

std::string_view bytesOf(const SVal& value) {
    return {reinterpret_cast<const char*>(&value), sizeof(value)};
}

/// Reading all at once gives what the single operations give.
void read(FuzzedDataProvider& in) {
    const SVariable at = address(in);
    SReading whole;
    db().Read(at.type, at.num, at.num_atr, &whole);
    SVal single;
    require(db().getVal(at, &single) == 0 || bytesOf(single) == bytesOf(whole.val));
    require(db().getTypeAtr(at) == whole.type_atr);
    require(db().getQuality(at) == whole.quality);
    require(db().getTime(at).tv_sec == whole.time.tv_sec);
    static_cast<void>(db().getDat(at, &single));
    static_cast<void>(db().getFlags(at));
    static_cast<void>(db().getTQFPointer(at));
}

void write(FuzzedDataProvider& in) {
    const SVariable at = address(in);
    const SVal written = value(in);
    if (in.ConsumeBool()) {
        static_cast<void>(db().setDatScale(at, written, in.ConsumeFloatingPoint<float>(), 1));
    } else {
        require(db().setDat(at, written) == db().isVariable(at));
    }
    static_cast<void>(db().setTime(at, {in.ConsumeIntegral<std::int64_t>(), 0}));
    static_cast<void>(db().setQuality(at, in.ConsumeIntegral<unsigned>()));
    SVal last = value(in);
    SVal aux = value(in);
    if (db().getChangeVal(at, &last, &aux) != 0)
        require(db().getTypeAtr(at) == last.type_val || last.type_val == none);
}

// ---- As variants -------------------------------------------------------------------------------

/// What clients send: bytes that the library takes for a variant.
OwnedVariant decoded(const std::string& text) {
    OwnedVariant value;
    const UA_ByteString bytes = uaView(text);
    static_cast<void>(UA_decodeBinary(&bytes, value.get(), OwnedVariant::type(), nullptr));
    return value;
}

void exchange(FuzzedDataProvider& in) {
    const auto kind = static_cast<VariableType>(in.ConsumeIntegralInRange(0, 4));
    const int tag = in.ConsumeIntegralInRange(0, 5);
    const int attribute = in.ConsumeIntegral<std::uint8_t>();
    OwnedVariant value = decoded(in.ConsumeRandomLengthString(200));
    RTEXHandle::setValueByAttrNumber(attribute, kind, tag, *value);
    value.clear();

    unsigned status = 1;
    long time = 0;
    RTEXHandle::getValueByAttrNumber(attribute, kind, tag, *value, status, time);
    require(UA_Variant_isEmpty(value.get()) || UA_Variant_isScalar(value.get()));
    require(status == UA_STATUSCODE_GOOD || status == UA_STATUSCODE_BAD ||
            status == UA_STATUSCODE_UNCERTAIN);
}

void convertArchived(FuzzedDataProvider& in) {
    OPCHDAITEMVALUE archived{};
    in.ConsumeData(&archived, sizeof(archived));
    OwnedDataValue value;
    toDataValue(archived, static_cast<UA_TimestampsToReturn>(in.ConsumeIntegralInRange(0, 4)),
                *value);
    require(value->hasValue == value->hasStatus);
    static_cast<void>(uaDateTimeToTimeval(in.ConsumeIntegral<std::int64_t>()));
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    describeAttributes();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider in(data, size);
    layOut(in);
    db().LoadBD();
    for (int i = 0; i < 16 && in.remaining_bytes() != 0; ++i)
        in.PickValueInArray({read, write, exchange, convertArchived, overwrite})(in);
    return 0;
}
