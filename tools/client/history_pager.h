#pragma once

#include <open62541/types.h>

#include <cstddef>
#include <functional>
#include <vector>

namespace tools {

/// One value of a history. A server may leave out any part.
struct HistoryValue {
    UA_DateTime time = 0;  ///< source time, 100 ns ticks since 1601; without one, its predecessor's
    double number = 0;     ///< NaN where there is none
    UA_StatusCode status = UA_STATUSCODE_GOOD;
    bool wide = false;  ///< more than a float holds
};

/// Reads values between two times, both included, oldest first; a server may cut the answer.
using HistoryRequest =
    std::function<UA_StatusCode(UA_DateTime from, UA_DateTime to, std::vector<HistoryValue>&)>;

/// Reads a history of any length from a server that cuts its answers at a number of values without
/// indicating it, and truncates the times of requests to milliseconds. So it repeats the request
/// from the last time received, drops values that it has already seen, and ends when nothing new
/// comes.
///
/// If all values of an answer have the same millisecond, there is no later time to continue from.
/// If the server may have cut that answer, reading is stuck, because continuing would lose values.
class HistoryPager {
  public:
    enum class Step { values, end, stuck, failed };

    /// @param from, to  both belong to the range
    HistoryPager(HistoryRequest request, UA_DateTime from, UA_DateTime to);

    /// Gets the next values that were not returned before. After `failed` the same step can be
    /// repeated; after `end` a later call finds values added meanwhile.
    [[nodiscard]] Step next(std::vector<HistoryValue>& values);

    /// Moves the end of the range.
    void extendTo(UA_DateTime to) { to_ = to; }

    [[nodiscard]] UA_StatusCode status() const { return status_; }  ///< of the last request
    [[nodiscard]] UA_DateTime position() const { return position_; }
    [[nodiscard]] std::size_t largestAnswer() const { return largest_; }

  private:
    bool ask(UA_DateTime from, std::vector<HistoryValue>& answer);
    void takeNew(const std::vector<HistoryValue>& answer, std::vector<HistoryValue>& values);
    Step stepWithoutNew(const std::vector<HistoryValue>& answer);

    HistoryRequest request_;
    UA_DateTime from_;
    UA_DateTime to_;
    UA_DateTime position_;        // of the last value returned; at first the range's beginning
    std::size_t atPosition_ = 0;  // values of exactly that time that were returned
    std::size_t largest_ = 0;     // values in one answer: the server's limit is no smaller
    UA_StatusCode status_ = UA_STATUSCODE_GOOD;
};

}  // namespace tools
