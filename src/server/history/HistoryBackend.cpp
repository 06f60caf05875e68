#include "server/history/HistoryBackend.h"

#include <algorithm>
#include <memory>
#include <string_view>

#include "jxotr/IHDA_SyncRead.h"
#include "server/config/GeneralSettings.h"
#include "server/config/IniConfigManager.h"
#include "server/history/ArchiveTime.h"
#include "server/history/ArchivedValue.h"
#include "server/history/RTEXContext.h"
#include "server/opcua/UaView.h"

// ---- Number of values --------------------------------------------------------------------------

namespace {

/// The last configured number; kept between calls.
std::int32_t CountHistoryTrends = minCountHistoryTrends;

}  // namespace

std::uint32_t getCountHistoryTrends() {
    const auto& sections = IniConfigManager::instance().getSections();
    for (const std::string_view value : valuesOf(sections, "CountHistoryTrends")) {
        const std::optional<std::int32_t> count = parseLeadingInteger(value);
        if (!count) return minCountHistoryTrends;
        CountHistoryTrends = *count;
    }
    return static_cast<std::uint32_t>(std::min(CountHistoryTrends, maxCountHistoryTrends));
}

// ---- Reading the archive -----------------------------------------------------------------------

namespace {

/// The result of one read of the archive, freed in the way that the trend library prescribes.
class ArchiveAnswer {
  public:
    ArchiveAnswer() = default;
    ArchiveAnswer(const ArchiveAnswer&) = delete;
    ArchiveAnswer& operator=(const ArchiveAnswer&) = delete;
    ~ArchiveAnswer() {
        if (item_ != nullptr) delete[] item_->values;
        delete item_;
        delete[] errors_;
    }

    void read(IHDA_SyncRead& reader, timeval start, timeval end, OPCHDAITEMDEF pen) {
        // KEPT: the status is ignored; a failed read is an empty answer. Required by the interface.
        (void)reader.ReadRaw(&start, &end, getCountHistoryTrends(), false, 1, &pen, &item_,
                             &errors_);
    }

    std::size_t count() const noexcept {
        return item_ != nullptr && item_->values != nullptr ? item_->count : 0;
    }
    const OPCHDAITEMVALUE& value(std::size_t index) const noexcept { return item_->values[index]; }

    void abandon() noexcept {
        item_ = nullptr;
        errors_ = nullptr;
    }

  private:
    OPCHDAITEM* item_ = nullptr;
    HRESULT* errors_ = nullptr;
};

OPCHDAITEMDEF penOfNode(const RTEXContext& context, const UA_NodeId& nodeId) noexcept {
    std::string_view text;
    if (nodeId.identifierType == UA_NODEIDTYPE_STRING) {
        text = textOf(nodeId.identifier.string);
    }
    return {static_cast<std::uint32_t>(numberOfNode(context.plotterByNode, text)),
            static_cast<std::uint32_t>(numberOfNode(context.penByNode, text))};
}

}  // namespace

UA_StatusCode getHistoryData_RTEX(
    UA_Server* /*server*/, const UA_NodeId* /*sessionId*/, void* /*sessionContext*/,
    const UA_HistoryDataBackend* backend, UA_DateTime start, UA_DateTime end,
    const UA_NodeId* nodeId, std::size_t /*maxSizePerResponse*/, UA_UInt32 /*numValuesPerNode*/,
    UA_Boolean /*returnBounds*/, UA_TimestampsToReturn timestamps, UA_NumericRange /*range*/,
    UA_Boolean /*releaseContinuationPoints*/, const UA_ByteString* /*continuationPoint*/,
    UA_ByteString* outContinuationPoint, UA_HistoryData* result) noexcept {
    const auto& context = *static_cast<const RTEXContext*>(backend->context);
    const OPCHDAITEMDEF pen = penOfNode(context, *nodeId);
    if (result == nullptr) return UA_STATUSCODE_BADINVALIDARGUMENT;
    UA_HistoryData_init(result);

    auto reader = std::make_unique<IHDA_SyncRead>();
    ArchiveAnswer answer;
    answer.read(*reader, uaDateTimeToTimeval(start), uaDateTimeToTimeval(end), pen);

    const std::size_t count = answer.count();
    auto* const values =
        static_cast<UA_DataValue*>(UA_Array_new(count, &UA_TYPES[UA_TYPES_DATAVALUE]));
    if (values == nullptr) {
        // KEPT: on this path neither the archive's answer nor the reader is freed. Required by the
        // interface.
        answer.abandon();
        (void)reader.release();
        return UA_STATUSCODE_BADOUTOFMEMORY;
    }
    for (std::size_t i = 0; i < count; ++i) {
        toDataValue(answer.value(i), timestamps, values[i]);
    }
    result->dataValues = values;
    result->dataValuesSize = count;
    UA_ByteString_clear(outContinuationPoint);
    return UA_STATUSCODE_GOOD;
}

// ---- What is refused and what is promised ------------------------------------------------------

UA_StatusCode serverSetHistoryData_RTEX(UA_Server* /*server*/, void* /*context*/,
                                        const UA_NodeId* /*sessionId*/, void* /*sessionContext*/,
                                        const UA_NodeId* /*nodeId*/, UA_Boolean /*historizing*/,
                                        const UA_DataValue* /*value*/) noexcept {
    return UA_STATUSCODE_BADHISTORYOPERATIONUNSUPPORTED;
}

std::size_t getDateTimeMatch_RTEX(UA_Server* /*server*/, void* /*context*/,
                                  const UA_NodeId* /*sessionId*/, void* /*sessionContext*/,
                                  const UA_NodeId* /*nodeId*/, UA_DateTime /*timestamp*/,
                                  MatchStrategy /*strategy*/) noexcept {
    return UA_STATUSCODE_BADHISTORYOPERATIONUNSUPPORTED;
}

UA_Boolean boundSupported_RTEX(UA_Server* /*server*/, void* /*context*/,
                               const UA_NodeId* /*sessionId*/, void* /*sessionContext*/,
                               const UA_NodeId* /*nodeId*/) noexcept {
    return true;
}

UA_Boolean timestampsToReturnSupported_RTEX(UA_Server* /*server*/, void* /*context*/,
                                            const UA_NodeId* /*sessionId*/,
                                            void* /*sessionContext*/, const UA_NodeId* /*nodeId*/,
                                            UA_TimestampsToReturn timestamps) noexcept {
    return timestamps < 5;
}

UA_HistoryDataBackend UA_HistoryDataBackend_RTEX() {
    UA_HistoryDataBackend backend{};
    backend.context = &RtexContext;
    backend.serverSetHistoryData = serverSetHistoryData_RTEX;
    backend.getHistoryData = getHistoryData_RTEX;
    backend.getDateTimeMatch = getDateTimeMatch_RTEX;
    backend.boundSupported = boundSupported_RTEX;
    backend.timestampsToReturnSupported = timestampsToReturnSupported_RTEX;
    return backend;
}
