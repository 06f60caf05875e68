#include "lib/util/qnx_calls.h"

#include <gtest/gtest.h>

#include <chrono>
#include <climits>

namespace {

// How names are looked up and messages sent shows where the database is asked for its tables.
TEST(QnxCalls, NumbersAreDecimalWhateverTheRadixAndDelaysInMilliseconds) {
    char buf[12];
    EXPECT_STREQ(itoa(INT_MIN, buf, 16), "-2147483648");
    EXPECT_STREQ(utoa(UINT_MAX, buf, 2), "4294967295");
    EXPECT_EQ(itoa(255, buf, 16), buf);
    const auto start = std::chrono::steady_clock::now();
    delay(200);
    const auto slept = std::chrono::steady_clock::now() - start;
    EXPECT_GE(slept, std::chrono::milliseconds(200));
    EXPECT_LT(slept, std::chrono::seconds(10));
}

}  // namespace
