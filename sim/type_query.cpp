#include "sim/type_query.h"

#include "sim/layout/little_endian.h"

namespace sim {

namespace {

constexpr std::uint32_t kTypeQuery = 0x1100;
constexpr std::size_t kCountAt = 16;
constexpr std::size_t kTypeAt = 32;
constexpr std::uint32_t kNoMoreTypes = kTypeCount + 1;

}  // namespace

Answer answerTo(const Request& request, const Counts& counts) {
    Answer answer{};
    if (load<std::uint32_t>(request.data()) != kTypeQuery) return answer;
    const auto asked = load<std::uint32_t>(request.data() + 4);
    if (asked >= kTypeCount) {
        store(answer.data() + kTypeAt, kNoMoreTypes);
        return answer;
    }
    store(answer.data() + kCountAt, std::uint32_t{counts[asked]});
    store(answer.data() + kTypeAt, asked + 1);
    return answer;
}

}  // namespace sim
