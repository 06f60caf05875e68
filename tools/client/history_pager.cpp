#include "tools/client/history_pager.h"

#include <algorithm>
#include <utility>

namespace tools {

namespace {

constexpr UA_DateTime kTicksPerMs = 10'000;

UA_DateTime startOfMs(UA_DateTime time) {
    return time - time % kTicksPerMs;
}

}  // namespace

HistoryPager::HistoryPager(HistoryRequest request, UA_DateTime from, UA_DateTime to)
    : request_(std::move(request)), from_(from), to_(to), position_(from) {}

HistoryPager::Step HistoryPager::next(std::vector<HistoryValue>& values) {
    values.clear();
    std::vector<HistoryValue> answer;
    if (!ask(startOfMs(position_), answer)) return Step::failed;
    takeNew(answer, values);
    return values.empty() ? stepWithoutNew(answer) : Step::values;
}

/// The end is rounded up to the next millisecond, because the server truncates it.
bool HistoryPager::ask(UA_DateTime from, std::vector<HistoryValue>& answer) {
    answer.clear();
    status_ = request_(from, startOfMs(to_ + kTicksPerMs - 1), answer);
    if (UA_StatusCode_isBad(status_)) return false;
    largest_ = std::max(largest_, answer.size());
    UA_DateTime before = from;
    for (HistoryValue& value : answer) {
        if (value.time == 0) value.time = before;
        before = value.time;
    }
    // Some servers answer latest first.
    const auto isEarlier = [](const HistoryValue& a, const HistoryValue& b) {
        return a.time < b.time;
    };
    if (!answer.empty() && isEarlier(answer.back(), answer.front()) &&
        std::is_sorted(answer.rbegin(), answer.rend(), isEarlier)) {
        std::reverse(answer.begin(), answer.end());
    }
    return true;
}

/// Values of the same time are distinguished only by their position: the archive only grows at its
/// end.
void HistoryPager::takeNew(const std::vector<HistoryValue>& answer,
                           std::vector<HistoryValue>& values) {
    std::size_t seen = 0;
    for (const HistoryValue& value : answer) {
        if (value.time < std::max(position_, from_) || value.time > to_) continue;
        if (value.time == position_ && seen < atPosition_) {
            ++seen;
            continue;
        }
        values.push_back(value);
    }
    if (values.empty()) return;
    const UA_DateTime last = values.back().time;
    const auto atLast = static_cast<std::size_t>(std::count_if(
        values.begin(), values.end(), [last](const HistoryValue& v) { return v.time == last; }));
    atPosition_ = last == position_ ? atPosition_ + atLast : atLast;
    position_ = last;
}

HistoryPager::Step HistoryPager::stepWithoutNew(const std::vector<HistoryValue>& answer) {
    if (answer.empty() || answer.size() < largest_ || answer.back().time > to_) return Step::end;
    // As large as any answer so far, and all values of one millisecond. The next request shows
    // whether it was cut.
    std::vector<HistoryValue> others;
    const UA_DateTime nextMs = startOfMs(position_) + kTicksPerMs;
    if (nextMs <= to_) {
        if (!ask(nextMs, others)) return Step::failed;
        if (!others.empty()) return Step::stuck;
    }
    if (answer.size() == 1) return Step::end;
    // Nothing follows. If the answer to any other request is larger, this one was complete.
    if (!ask(UA_DATETIME_UNIX_EPOCH, others)) return Step::failed;
    return others.size() > answer.size() ? Step::end : Step::stuck;
}

}  // namespace tools
