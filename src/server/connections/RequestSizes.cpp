#include "server/connections/RequestSizes.h"

#include <algorithm>
#include <limits>

namespace {

constexpr std::size_t kOrdinary = 16U << 10;
constexpr std::size_t kSeveralNodes = 64U << 10;
/// A data value takes 80 times as much memory when it is decoded.
constexpr std::size_t kManyValues = 512U << 10;
constexpr std::size_t kAsTheLibrary = std::numeric_limits<std::size_t>::max();

struct Service {
    std::uint16_t number;  // OPC 10000-6, A.3: of the request's binary encoding
    std::size_t most;      // bytes
};

// clang-format off
constexpr std::array kLongServices{
    Service{527, kSeveralNodes},  // Browse
    Service{533, kSeveralNodes},  // BrowseNext
    Service{554, kAsTheLibrary},  // TranslateBrowsePathsToNodeIds
    Service{560, kAsTheLibrary},  // RegisterNodes
    Service{566, kAsTheLibrary},  // UnregisterNodes
    Service{631, kAsTheLibrary},  // Read
    Service{664, kSeveralNodes},  // HistoryRead
    Service{673, kManyValues},    // Write
    Service{712, kSeveralNodes},  // Call
    Service{751, kAsTheLibrary},  // CreateMonitoredItems
    Service{763, kAsTheLibrary},  // ModifyMonitoredItems
    Service{769, kAsTheLibrary},  // SetMonitoringMode
    Service{775, kAsTheLibrary},  // SetTriggering
    Service{781, kAsTheLibrary},  // DeleteMonitoredItems
};
// clang-format on

std::size_t mostOf(ByteView head) {
    constexpr std::uint32_t kShortFormInNamespace0 = 0x0001;
    const std::uint32_t id = numberAt(head, kServiceHeaderSize);
    if (!isOfType(head, "MSG") || (id & 0xFFFFU) != kShortFormInNamespace0) return kOrdinary;
    const auto* const found =
        std::find_if(kLongServices.begin(), kLongServices.end(),
                     [&](const Service& service) { return service.number == id >> 16U; });
    return found != kLongServices.end() ? found->most : kOrdinary;
}

}  // namespace

bool RequestSizes::accept(ByteView piece) {
    if (have_ < kHeadSize) {
        const std::size_t part = std::min(kHeadSize - have_, piece.size());
        std::copy_n(piece.begin(), part, head_.begin() + static_cast<std::ptrdiff_t>(have_));
    }
    const std::size_t before = have_;
    have_ += piece.size();
    if (have_ < kTransportHeaderSize) return true;
    if (before < kTransportHeaderSize) messageBytes_ += chunkSize();
    const bool ends = have_ >= chunkSize();
    if (have_ < kHeadSize && !ends) return true;
    if (first_) most_ = mostOf(head_);
    if (messageBytes_ > most_) return false;
    if (ends) endChunk();
    return true;
}

void RequestSizes::endChunk() {
    first_ = head_[kChunkTypeOffset] != 'C';
    if (first_) messageBytes_ = 0;
    head_ = {};
    have_ = 0;
}
