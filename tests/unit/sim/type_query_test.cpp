#include "sim/type_query.h"
#include "tests/support/basics.h"

TEST(TypeQuery, NamesNoTypeBehindTheLastAndAnswersOtherRequestsWithZeros) {
    const auto answerTo = [](std::uint32_t command, std::uint32_t type) {
        sim::Request request{};
        sim::store(request.data(), command);
        sim::store(request.data() + 4, type);
        return sim::answerTo(request, {1});
    };
    for (const std::uint32_t beyond : {11U, 12U, 0xFFFFFFFFU}) {
        const sim::Answer answer = answerTo(0x1100, beyond);
        EXPECT_EQ(sim::load<std::uint32_t>(answer.data() + 16), 0U) << "count";
        EXPECT_EQ(sim::load<std::uint32_t>(answer.data() + 32), 12U) << "type";
    }
    EXPECT_EQ(answerTo(0x1300, 0), sim::Answer{});
    EXPECT_EQ(answerTo(0, 0), sim::Answer{});
}
