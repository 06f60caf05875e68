#include "tools/opcuaweb/opcua/reading.h"

#include <open62541/types_generated.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "server/opcua/UaHandle.h"
#include "tools/client/format.h"
#include "tools/opcuaweb/basics/limits.h"

namespace tools::opcuaweb {

namespace {

constexpr std::int64_t kTicksPerMs = 10'000;
constexpr double kMostExact = 9007199254740991;  // JavaScript rounds larger integers

}  // namespace

std::int64_t unixMs(UA_DateTime time) {
    // Divided first: the earliest time minus the epoch is no 64-bit number.
    const std::int64_t ms = time / kTicksPerMs - (time % kTicksPerMs < 0 ? 1 : 0);
    return ms - UA_DATETIME_UNIX_EPOCH / kTicksPerMs;
}

UA_DateTime fromUnixMs(std::int64_t ms) {
    return ms * kTicksPerMs + UA_DATETIME_UNIX_EPOCH;
}

bool isTime(UA_DateTime time) {
    return time > 0;
}

std::string exactId(const UA_NodeId& id) {
    OwnedString text;
    if (UA_NodeId_print(&id, text.get()) != UA_STATUSCODE_GOOD) return {};
    return std::string{textOf(*text)};
}

bool parseId(const std::string& text, NodeId& id) {
    id.clear();
    return UA_NodeId_parse(id.get(), uaView(text)) == UA_STATUSCODE_GOOD;
}

double shortened(float number) {
    std::array<char, 32> text{};
    static_cast<void>(std::snprintf(text.data(), text.size(), "%.7g", static_cast<double>(number)));
    return std::strtod(text.data(), nullptr);
}

std::string shortText(std::string text, std::size_t mostBytes) {
    if (text.size() <= mostBytes) return text;
    const auto isInside = [&](std::size_t i) {  // a character of several bytes
        return (static_cast<unsigned char>(text[i]) & 0xC0U) == 0x80U;
    };
    std::size_t end = mostBytes;
    while (end > 0 && isInside(end)) {
        --end;
    }
    text.resize(end);
    return text + "…";
}

namespace {

std::string shownText(const UA_Variant& value) {
    return shortText(formatValue(value), kMostValueText);
}

}  // namespace

Json shownValue(const UA_Variant& value) {
    if (UA_Variant_isEmpty(&value)) return nullptr;
    if (!UA_Variant_isScalar(&value)) return shownText(value);
    const Json json = jsonOf(value);
    if (json.is_number_integer() && std::abs(json.get<double>()) > kMostExact) return json.dump();
    const bool isFinite = json.is_number() && std::isfinite(json.get<double>());
    return isFinite || json.is_boolean() ? json : Json(shownText(value));
}

int qualityOf(UA_StatusCode status) {
    if (UA_StatusCode_isBad(status)) return 2;
    return UA_StatusCode_isUncertain(status) ? 1 : 0;
}

Json cellOf(const std::string& id, const UA_DataValue& value) {
    const UA_StatusCode status = value.hasStatus ? value.status : UA_STATUSCODE_GOOD;
    const bool hasTime = value.hasSourceTimestamp && isTime(value.sourceTimestamp);
    Json cell = {id, value.hasValue ? shownValue(value.value) : Json(), qualityOf(status),
                 hasTime ? Json(unixMs(value.sourceTimestamp)) : Json()};
    const std::string name = formatQuality(status);
    if (name != "Good") cell.push_back(name);
    return cell;
}

Json emptyCell(const std::string& id, UA_StatusCode status) {
    UA_DataValue value{};
    value.hasStatus = true;
    value.status = status;
    return cellOf(id, value);
}

}  // namespace tools::opcuaweb
