#include "server/connections/InputGate.h"

#include <algorithm>

std::size_t ChunkEnds::nextEnd(ByteView bytes) {
    std::size_t used = 0;
    if (missing_ == 0) {
        used = std::min(kTransportHeaderSize - headerBytes_, bytes.size());
        std::copy_n(bytes.begin(), used,
                    header_.begin() + static_cast<std::ptrdiff_t>(headerBytes_));
        headerBytes_ += used;
        if (headerBytes_ < kTransportHeaderSize) return used;
        headerBytes_ = 0;
        // The library refuses a chunk that is smaller than its header and closes the connection.
        const std::size_t size = numberAt(header_, kChunkSizeOffset);
        missing_ = size > kTransportHeaderSize ? size - kTransportHeaderSize : 0;
    }
    const std::size_t body = std::min(missing_, bytes.size() - used);
    missing_ -= body;
    return used + body;
}

std::optional<AnswerLimits> Greeting::read(ByteView bytes) {
    if (have_ == start_.size()) return std::nullopt;
    const std::size_t part = std::min(start_.size() - have_, bytes.size());
    std::copy_n(bytes.begin(), part, start_.begin() + static_cast<std::ptrdiff_t>(have_));
    have_ += part;
    if (have_ < start_.size() || !isOfType(start_, "HEL")) return std::nullopt;
    return AnswerLimits{numberAt(start_, kHelloMaxMessageSizeOffset),
                        numberAt(start_, kHelloMaxChunkCountOffset)};
}
