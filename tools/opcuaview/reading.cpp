#include "tools/opcuaview/reading.h"

#include "tools/client/format.h"

namespace tools::opcuaview {

Reading readingOf(const UA_DataValue& data) {
    Reading reading;
    reading.hasValue = data.hasValue && !UA_Variant_isEmpty(&data.value);
    reading.value = formatValue(data.value);
    reading.status = data.hasStatus ? data.status : UA_STATUSCODE_GOOD;
    reading.quality = formatQuality(reading.status);
    if (data.hasSourceTimestamp) reading.time = data.sourceTimestamp;
    reading.isNumber = isNumber(data.value);
    reading.number = numberOf(data.value);
    reading.isFloating = reading.isNumber && data.value.type->typeKind >= UA_DATATYPEKIND_FLOAT;
    return reading;
}

std::string sourceTimeText(const Reading& reading) {
    return reading.time == 0 ? "—" : formatTime(reading.time);
}

}  // namespace tools::opcuaview
