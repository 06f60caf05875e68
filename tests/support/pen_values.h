#pragma once

#include "jxotr/IHDA_SyncRead.h"
#include "tests/support/basics.h"

/// The values that a server reads from a pen.
struct PenValues {
    HRESULT result = 0;
    std::vector<OPCHDAITEMVALUE> values;

    /// Of a value, us since 1970.
    std::int64_t time(std::size_t i) const {
        return values[i].seconds * 1'000'000 + values[i].microseconds;
    }
};

/// Reads from the trend library as a server does: with a new reader for each call, whose answer is
/// freed as the interface requires.
/// @param from, to  us since 1970
inline PenValues readPen(OPCHDAITEMDEF pen, std::int64_t from = 0,
                         std::int64_t to = std::numeric_limits<std::int64_t>::max(),
                         unsigned limit = 1'000'000) {
    constexpr std::int64_t kSecond = 1'000'000;
    timeval start{from / kSecond, from % kSecond};
    timeval end{to / kSecond, to % kSecond};
    OPCHDAITEM* results = nullptr;
    HRESULT* errors = nullptr;
    const auto reader = std::make_unique<IHDA_SyncRead>();
    PenValues read;
    read.result = reader->ReadRaw(&start, &end, limit, false, 1, &pen, &results, &errors);
    EXPECT_EQ(read.result == 0, results != nullptr && errors != nullptr);
    if (results != nullptr) {
        read.values.assign(results->values, results->values + results->count);
        delete[] results->values;
    }
    delete results;
    delete[] errors;
    return read;
}
