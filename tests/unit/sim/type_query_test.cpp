#include "type_query.h"

#include <gtest/gtest.h>

#include <cstring>

TEST(TypeQuery, NamesNoTypeBehindTheLastAndAnswersOtherRequestsWithZeros) {
    const auto answerTo = [](std::uint32_t command, std::uint32_t type) {
        sim::Request request{};
        std::memcpy(request.data(), &command, sizeof command);
        std::memcpy(request.data() + 4, &type, sizeof type);
        const struct {
            sim::Counts counts{1};
            std::uint16_t behind = 7;
        } memory;
        return sim::answerTo(request, memory.counts);
    };
    for (const std::uint32_t beyond : {11U, 12U, 0xFFFFFFFFU}) {
        std::uint32_t fields[5]{};  // the count first, the type last
        std::memcpy(fields, answerTo(0x1100, beyond).data() + 16, sizeof fields);
        EXPECT_EQ(fields[0], 0U);
        EXPECT_EQ(fields[4], 12U);
    }
    EXPECT_EQ(answerTo(0x1300, 0), sim::Answer{});
    EXPECT_EQ(answerTo(0, 0), sim::Answer{});
}
