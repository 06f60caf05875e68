#include "server/connections/AnswerGate.h"

#include <open62541/types.h>

#include <algorithm>

namespace {

constexpr std::array<std::uint8_t, 4> kServiceFaultType{1, 0, 0x8D, 1};  // four-byte node id, i=397
// After the service result of a response header: no diagnostics, no strings, no additional header.
constexpr std::array<std::uint8_t, 8> kHeaderEnd{0, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0};

// Sequence numbers run from 1 to this one and then from 1 again (OPC 10000-6, 6.7.2.4).
constexpr std::uint64_t kSequenceNumbers = 4'294'966'271;

/// Position of the sequence number in a chunk that opens or renews the channel, after three strings
/// of any length; 0 when the chunk is malformed.
std::size_t sequenceNumberInOpening(ByteView chunk) {
    std::size_t at = 12;
    for (int i = 0; i < 3; ++i) {
        if (at + 4 > chunk.size()) return 0;
        const std::uint32_t length = numberAt(chunk, at);
        at += 4 + (length == 0xFFFF'FFFF ? std::size_t{0} : length);
    }
    return at + 4 > chunk.size() ? 0 : at;
}

/// Position of the response header in the first chunk of an answer, after the type's node id.
std::size_t responseHeaderOffset(ByteView chunk) {
    const bool twoBytes = chunk.size() > kServiceHeaderSize && chunk[kServiceHeaderSize] == 0;
    return kServiceHeaderSize + (twoBytes ? 2 : 4);
}

}  // namespace

void AnswerGate::renumber(std::span<std::uint8_t> chunk) const {
    if (unused_ == 0) return;
    std::size_t at = 0;
    if (isOfType(chunk, "MSG") || isOfType(chunk, "CLO")) at = kSequenceNumberOffset;
    if (isOfType(chunk, "OPN")) at = sequenceNumberInOpening(chunk);
    if (at == 0) return;
    const std::uint64_t number = numberAt(chunk, at);
    const std::uint64_t shifted = (number - 1 + kSequenceNumbers - unused_) % kSequenceNumbers + 1;
    setNumberAt(chunk, at, static_cast<std::uint32_t>(shifted));
}

AnswerGate::Output AnswerGate::pass(std::span<std::uint8_t> chunk) {
    release();
    const bool service = isOfType(chunk, "MSG") && chunk.size() > kServiceHeaderSize;
    // The library abandoned a message after it had made some of its chunks.
    const bool other =
        !service || numberAt(chunk, kRequestIdOffset) != numberAt(header_, kRequestIdOffset);
    if (chunks_ > 0 && other) giveUp();
    renumber(chunk);
    if (!service || (limits_.messageSize == 0 && limits_.chunkCount == 0)) return {{}, chunk};

    if (chunks_ == 0) begin(chunk);
    ++chunks_;
    bodyBytes_ += chunk.size() - kServiceHeaderSize;
    if ((limits_.messageSize != 0 && bodyBytes_ > limits_.messageSize) ||
        (limits_.chunkCount != 0 && chunks_ > limits_.chunkCount)) {
        tooLarge_ = true;
        held_ = {};
    }
    if (chunk[kChunkTypeOffset] != 'C') return finish(chunk);
    if (!tooLarge_) held_.insert(held_.end(), chunk.begin(), chunk.end());
    return {};
}

void AnswerGate::begin(ByteView first) {
    std::copy_n(first.begin(), header_.size(), header_.begin());
    timeAndHandle_ = {};
    const std::size_t at = responseHeaderOffset(first);
    if (at + timeAndHandle_.size() > first.size()) return;
    const ByteView fields = first.subspan(at, timeAndHandle_.size());
    std::copy(fields.begin(), fields.end(), timeAndHandle_.begin());
}

void AnswerGate::giveUp() {
    unused_ = static_cast<std::uint32_t>((unused_ + std::uint64_t{chunks_}) % kSequenceNumbers);
    done_ = true;
    release();
}

AnswerGate::Output AnswerGate::finish(ByteView last) {
    done_ = true;
    if (!tooLarge_) return {held_, last};
    unused_ = static_cast<std::uint32_t>((unused_ + std::uint64_t{chunks_} - 1) % kSequenceNumbers);
    return fault();
}

AnswerGate::Output AnswerGate::fault() {
    const auto add = [this](auto&& bytes) {
        held_.insert(held_.end(), bytes.begin(), bytes.end());
    };
    add(header_);
    add(kServiceFaultType);
    add(timeAndHandle_);
    held_.resize(held_.size() + sizeof(std::uint32_t));
    setNumberAt(held_, held_.size() - sizeof(std::uint32_t), UA_STATUSCODE_BADRESPONSETOOLARGE);
    add(kHeaderEnd);
    held_[kChunkTypeOffset] = 'F';
    setNumberAt(held_, kChunkSizeOffset, static_cast<std::uint32_t>(held_.size()));
    return {held_, {}};
}

void AnswerGate::release() {
    if (!done_) return;
    held_ = {};
    chunks_ = 0;
    bodyBytes_ = 0;
    tooLarge_ = false;
    done_ = false;
}
