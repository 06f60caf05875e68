#include "lib/util/qnx_calls.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <climits>

#include "lib/util/vs_obj.h"
#include "support/capture.h"
#include "support/vesk_path.h"

namespace {

TEST(QnxCalls, NumbersAreDecimalWhateverTheRadixAndDelaysInMilliseconds) {
    char buf[12];
    EXPECT_EQ(itoa(255, buf, 16), buf);
    EXPECT_STREQ(buf, "255");
    EXPECT_STREQ(itoa(INT_MIN, buf, 2), "-2147483648");
    EXPECT_STREQ(utoa(UINT_MAX, buf, 16), "4294967295");
    const auto start = std::chrono::steady_clock::now();
    delay(30);
    const auto slept = std::chrono::steady_clock::now() - start;
    EXPECT_GE(slept, std::chrono::milliseconds(30));
    EXPECT_LT(slept, std::chrono::seconds(10));
}

// How a message is carried and answered shows where the database is asked for its tables.
TEST(QnxCalls, NamesAndMessagesGoThroughTheProcessObject) {
    char question[] = "?";
    ASSERT_EQ(All, nullptr) << "made by the start-up";
    EXPECT_EQ(qnx_name_locate(0, "VsBASE", 0, nullptr), -1);
    EXPECT_EQ(Send(getppid(), question, nullptr, 1, 0), -1);

    const VeskPath path;
    const Capture out(STDOUT_FILENO);
    const Capture err(STDERR_FILENO);
    vs_obj object;
    object.name_add("VsBASE", getppid());
    All = &object;
    unsigned copies = 5;
    EXPECT_EQ(qnx_name_locate(3, "VsBASE", 100, &copies), getppid());
    EXPECT_EQ(copies, 5U);
    EXPECT_EQ(qnx_name_locate(0, "nobody", 0, nullptr), -1);
    All = nullptr;
}

}  // namespace
