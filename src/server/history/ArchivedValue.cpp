#include "server/history/ArchivedValue.h"

#include <cmath>
#include <limits>

#include "server/opcua/OwnScalar.h"
#include "server/values/TimeQuality.h"

namespace {

/// Truncates towards zero and saturates at the limits of 64 bits, as the controller's processor
/// does.
UA_Int64 truncated(float number) noexcept {
    constexpr float kBeyond = 9223372036854775808.0F;  // 2^63, the first that does not fit
    if (std::isnan(number)) return 0;
    if (number >= kBeyond) return std::numeric_limits<UA_Int64>::max();
    if (number < -kBeyond) return std::numeric_limits<UA_Int64>::min();
    return static_cast<UA_Int64>(number);
}

void setTimes(const OPCHDAITEMVALUE& archived, UA_TimestampsToReturn timestamps,
              UA_DataValue& value) noexcept {
    const UA_DateTime time = timevalToUaDateTime({archived.seconds, archived.microseconds});
    const bool both = timestamps == UA_TIMESTAMPSTORETURN_BOTH;
    if (both || timestamps == UA_TIMESTAMPSTORETURN_SOURCE) {
        value.sourceTimestamp = time;
        value.hasSourceTimestamp = true;
    }
    if (both || timestamps == UA_TIMESTAMPSTORETURN_SERVER) {
        value.serverTimestamp = time;
        value.hasServerTimestamp = true;
    }
}

template <class Scalar>
void setValue(Scalar scalar, std::size_t typeIndex, unsigned quality,
              UA_DataValue& value) noexcept {
    if (!setOwnScalar(value.value, scalar, typeIndex)) return;
    value.hasValue = true;
    value.status = qualityConvertFromDA(quality);
    value.hasStatus = true;
}

}  // namespace

void toDataValue(const OPCHDAITEMVALUE& archived, UA_TimestampsToReturn timestamps,
                 UA_DataValue& value) noexcept {
    switch (archived.vt) {
        case jxo::kVtFloat:
            setValue(archived.value.number, UA_TYPES_FLOAT, archived.quality, value);
            break;
        case jxo::kVtDouble:
            setValue(archived.value.wide, UA_TYPES_DOUBLE, archived.quality, value);
            break;
        case jxo::kVtBoolean:
            setValue(archived.value.boolean != 0, UA_TYPES_BOOLEAN, archived.quality, value);
            break;
        case jxo::kVtInteger:
            // KEPT: an integer is read through the float field and truncated. Required by the
            // interface.
            setValue(truncated(archived.value.number), UA_TYPES_INT64, archived.quality, value);
            break;
        default:
            return;
    }
    setTimes(archived, timestamps, value);
}
