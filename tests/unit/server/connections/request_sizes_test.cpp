#include "server/connections/RequestSizes.h"

#include "tests/unit/server/connections/socket_pair.h"

static Bytes chunkOf(const char* typeAndEnd, std::uint16_t service, std::size_t size) {
    Bytes bytes = chunk(typeAndEnd, size);
    if (size >= kServiceHeaderSize + 4)
        setNumberAt(bytes, kServiceHeaderSize, 1U | std::uint32_t{service} << 16U);
    return bytes;
}

/// @param step  bytes that arrive together
static bool accepts(RequestSizes& sizes, const Bytes& bytes, std::size_t step) {
    for (std::size_t at = 0; at < bytes.size(); at += step) {
        if (!sizes.accept(ByteView(bytes).subspan(at, std::min(step, bytes.size() - at))))
            return false;
    }
    return true;
}

TEST(RequestSizes, DependOnTheService) {
    constexpr std::uint16_t kRead = 631, kHistoryRead = 664, kTransfer = 841;
    const struct {
        const char* why;
        std::uint16_t service;
        std::vector<std::size_t> chunks;
        bool accepted;
    } cases[] = {
        {"thousands of nodes", kRead, {65'535, 65'535, 65'535}, true},
        {"several nodes", kHistoryRead, {65'536}, true},
        {"too many nodes", kHistoryRead, {65'536, 100}, false},
        {"a few numbers", kTransfer, {8'192, 8'192}, true},
        {"half a million numbers", kTransfer, {65'536, 65'536}, false},
        {"in small chunks", kTransfer, {8'192, 8'192, 30}, false},
        {"no service at all", 0, {8}, true},
    };
    for (const auto& c : cases) {
        for (const std::size_t step : {std::size_t{1}, std::size_t{27}, std::size_t{1} << 20}) {
            SCOPED_TRACE(c.why);
            RequestSizes sizes;
            // A message before it counts for itself.
            ASSERT_TRUE(accepts(sizes, chunkOf("MSGF", kTransfer, 16'384), step));
            bool accepted = true;
            for (std::size_t i = 0; i < c.chunks.size() && accepted; ++i) {
                const bool last = i + 1 == c.chunks.size();
                // Only the first chunk names the service.
                const std::uint16_t service = i == 0 ? c.service : kRead;
                accepted =
                    accepts(sizes, chunkOf(last ? "MSGF" : "MSGC", service, c.chunks[i]), step);
            }
            EXPECT_EQ(accepted, c.accepted);
        }
    }
}
