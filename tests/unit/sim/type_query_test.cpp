#include "type_query.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

sim::Request request(std::uint32_t command, std::uint32_t type) {
    sim::Request bytes{};
    std::memcpy(bytes.data(), &command, 4);
    std::memcpy(bytes.data() + 4, &type, 4);
    return bytes;
}

std::uint32_t at(const sim::Answer& answer, std::size_t offset) {
    std::uint32_t value = 0;
    std::memcpy(&value, answer.data() + offset, 4);
    return value;
}

TEST(TypeQuery, NamesNoTypeBehindTheLastAndAnswersOtherRequestsWithZeros) {
    for (const std::uint32_t beyond : {11U, 12U, 0xFFFFFFFFU}) {
        const sim::Answer answer = sim::answerTo(request(0x1100, beyond), sim::Counts{1});
        EXPECT_GT(at(answer, 32), 11U);
        EXPECT_EQ(at(answer, 16), 0U);
    }
    EXPECT_EQ(sim::answerTo(request(0x1300, 0), sim::Counts{1}), sim::Answer{});
    EXPECT_EQ(sim::answerTo(request(0, 0), sim::Counts{1}), sim::Answer{});
}

}  // namespace
