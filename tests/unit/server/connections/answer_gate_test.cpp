#include "server/connections/AnswerGate.h"

#include "tests/unit/server/connections/socket_pair.h"

using namespace std::string_literals;

namespace {

/// The library's next chunks on a channel, as they would go out without the gate.
class Library {
  public:
    explicit Library(std::uint32_t number = 1) : number_(number) {}

    Bytes chunk(const char* typeAndEnd, std::uint32_t request, std::size_t body) {
        Bytes bytes = ::chunk(typeAndEnd, kServiceHeaderSize + body);
        setNumberAt(bytes, 8, 77);  // channel
        setNumberAt(bytes, 12, 5);  // token
        setNumberAt(bytes, kSequenceNumberOffset, number_++);
        setNumberAt(bytes, kRequestIdOffset, request);
        std::iota(bytes.begin() + kServiceHeaderSize, bytes.end(), std::uint8_t{1});
        return bytes;
    }

  private:
    std::uint32_t number_;
};

/// What the gate lets out for one chunk.
Bytes passed(AnswerGate& gate, Bytes chunk) {
    const AnswerGate::Output output = gate.pass(chunk);
    Bytes out(output.held.begin(), output.held.end());
    out.insert(out.end(), output.chunk.begin(), output.chunk.end());
    gate.release();
    return out;
}

std::uint32_t sequenceNumber(const Bytes& chunk) {
    return numberAt(chunk, kSequenceNumberOffset);
}

}  // namespace

TEST(AnswerGate, LetsOutWhatFitsAsItIsAndRefusesWhatIsTooLarge) {
    const struct {
        const char* why;
        AnswerLimits limits;
        std::vector<std::size_t> bodies;
        bool atOnce = false, refused = false;
    } cases[] = {
        {"no limits: chunk by chunk", {}, {100, 100, 50}, true},
        {"one chunk", {8192, 1}, {8192}, true},
        {"the most bytes", {250, 0}, {100, 100, 50}},
        {"the most chunks", {0, 3}, {100, 100, 50}},
        {"one byte more", {249, 0}, {100, 100, 50}, false, true},
        {"one chunk more", {0, 2}, {100, 100, 50}, false, true},
        {"one chunk is too large", {99, 1}, {100, 100, 50}, false, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        AnswerGate gate;
        gate.setLimits(c.limits);
        Library library;
        std::uint32_t next = 1;  // the client sees no gap in the numbers
        for (std::uint32_t request = 1; request <= 3; ++request) {
            Bytes given, got;
            for (std::size_t i = 0; i < c.bodies.size(); ++i) {
                const bool last = i + 1 == c.bodies.size();
                const Bytes chunk = library.chunk(last ? "MSGF" : "MSGC", request, c.bodies[i]);
                append(given, chunk);
                append(got, passed(gate, chunk));
                EXPECT_EQ(got.empty(), !c.atOnce && !last);
            }
            next += c.refused ? 1U : static_cast<std::uint32_t>(c.bodies.size());
            if (c.refused) {
                // Header; number and request; ServiceFault; time and handle; BadResponseTooLarge.
                const std::string want =
                    "MSGF\x34\0\0\0\x4D\0\0\0\5\0\0\0n\0\0\0r\0\0\0\1\0\x8D\1\5\6\7\x8\x9\xA\xB"s +
                    "\xC\xD\xE\xF\x10\0\0\xB9\x80\0\xFF\xFF\xFF\xFF\0\0\0"s;
                given.assign(want.begin(), want.end());
                given[16] = static_cast<std::uint8_t>(next - 1);
                given[20] = static_cast<std::uint8_t>(request);
            }
            EXPECT_EQ(got, given);
            EXPECT_EQ(sequenceNumber(passed(gate, library.chunk("MSGF", 100 + request, 20))),
                      next++);
        }
    }
}

TEST(AnswerGate, NumbersWhateverFollowsWithoutGaps) {
    AnswerGate gate;
    gate.setLimits({0, 1});
    Library library(4'294'966'270);  // two before the first number again
    EXPECT_TRUE(passed(gate, library.chunk("MSGC", 1, 30)).empty());
    EXPECT_EQ(sequenceNumber(passed(gate, library.chunk("MSGF", 1, 30))), 4'294'966'270);
    Library after(1);
    EXPECT_EQ(sequenceNumber(passed(gate, after.chunk("MSGF", 2, 30))), 4'294'966'271);
    EXPECT_EQ(sequenceNumber(passed(gate, after.chunk("CLOF", 2, 30))), 1u);

    // A message that the library gave up: its chunks never were.
    EXPECT_TRUE(passed(gate, after.chunk("MSGC", 3, 30)).empty());
    EXPECT_EQ(sequenceNumber(passed(gate, after.chunk("MSGF", 4, 30))), 2u);
    EXPECT_TRUE(passed(gate, after.chunk("MSGC", 5, 30)).empty());
    Bytes error = {'E', 'R', 'R', 'F', 16, 0, 0, 0, 0, 0, 0xB9, 0x80, 0, 0, 0, 0};
    EXPECT_EQ(passed(gate, error), error);

    // A renewal of the channel, its number behind the policy and two null strings.
    Bytes renewal = {'O', 'P', 'N', 'F', 40, 0, 0, 0, 77, 0, 0, 0, 2, 0, 0, 0, '#', 'N'};
    renewal.insert(renewal.end(), 8, 0xFF);
    renewal.insert(renewal.end(), {6, 0, 0, 0, 9, 0, 0, 0, 1, 2, 3, 4, 5, 6});
    const Bytes renumbered = passed(gate, renewal);
    renewal[26] = 3;  // 6, less the three that were never sent
    EXPECT_EQ(renumbered, renewal);
    for (std::size_t size = 30; size-- > 0;) {  // not as it should be: left alone
        renewal.resize(size);
        EXPECT_EQ(passed(gate, renewal).size(), size);
    }
}
