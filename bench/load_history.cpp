#include <span>

#include "bench/load_commands.h"
#include "bench/pen_requests.h"
#include "bench/saturating_load.h"
#include "bench/ua_connection.h"

namespace bench {

namespace {

/// Every value a float with status and source time, as both servers are configured.
void checkHistory(const RawResponse& raw, std::size_t values) {
    UaHandle<UA_HistoryReadResponse, UA_TYPES_HISTORYREADRESPONSE> response;
    UaConnection::decode(raw, response);
    if (response->resultsSize != 1 || response->results->statusCode != UA_STATUSCODE_GOOD) {
        throw UaError("HistoryRead: refused");
    }
    const UA_ExtensionObject& data = response->results->historyData;
    if (data.content.decoded.type != &UA_TYPES[UA_TYPES_HISTORYDATA]) {
        throw UaError("HistoryRead: no history data");
    }
    const auto& history = *static_cast<const UA_HistoryData*>(data.content.decoded.data);
    if (history.dataValuesSize != values) throw UaError("HistoryRead: another number of values");
    for (const UA_DataValue& value : std::span(history.dataValues, history.dataValuesSize)) {
        if (!value.hasStatus || !value.hasSourceTimestamp ||
            !UA_Variant_hasScalarType(&value.value, &UA_TYPES[UA_TYPES_FLOAT])) {
            throw UaError("HistoryRead: not a Float with status and source time");
        }
    }
}

}  // namespace

void loadHistory(const std::vector<Target>& targets, const HistoryLoad& load) {
    loadSaturating(targets, load.times, [&load](UaConnection& connection) {
        Workload work;
        work.valuesPerRequest = load.values;
        work.check = [&load](const RawResponse& raw) { checkHistory(raw, load.values); };
        for (std::size_t pen = 1; pen <= load.pens; ++pen) {
            work.requests.push_back(prepareHistoryRead(connection, pen, 1));
        }
        return work;
    });
}

}  // namespace bench
