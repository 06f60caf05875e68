#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "server/connections/InputGate.h"
#include "server/connections/TransportChunk.h"

/// Withholds answers that are larger than the client's stated limits. The library ignores these
/// limits and sends such answers chunk by chunk, whereupon the client closes the connection. Here
/// the chunks are held until the last one has been made; an answer that is too large is replaced by
/// a ServiceFault with BadResponseTooLarge (OPC 10000-4, 7.38), and later chunks are numbered as if
/// the dropped ones had never existed. One object per connection; only without message security.
class AnswerGate {
  public:
    /// What may be sent now: `held`, then `chunk`. Valid until the next call.
    struct Output {
        ByteView held;
        ByteView chunk;
    };

    void setLimits(AnswerLimits limits) { limits_ = limits; }

    /// @param chunk  a whole chunk as the library made it; its sequence number may be changed
    /// @throws std::bad_alloc
    Output pass(std::span<std::uint8_t> chunk);

    /// Frees the data of the last output. Call it once they are sent.
    void release();

  private:
    void begin(ByteView first);
    void giveUp();
    Output finish(ByteView last);
    Output fault();
    void renumber(std::span<std::uint8_t> chunk) const;

    AnswerLimits limits_;
    std::vector<std::uint8_t> held_;
    // The current message, from its first chunk:
    std::uint32_t chunks_ = 0;  // 0: none is
    std::uint64_t bodyBytes_ = 0;
    bool tooLarge_ = false;
    std::array<std::uint8_t, kServiceHeaderSize> header_{};
    std::array<std::uint8_t, 12> timeAndHandle_{};  // of the response header
    bool done_ = false;                             // held_ is an output
    std::uint32_t unused_ = 0;                      // sequence numbers of chunks that were dropped
};
