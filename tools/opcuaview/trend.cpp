#include "tools/opcuaview/trend.h"

#include <algorithm>

#include "tools/client/format.h"
#include "tools/client/item_list.h"
#include "tools/opcuaview/pens.h"
#include "tools/opcuaview/plot.h"
#include "tools/text/text.h"

namespace tools::opcuaview {

UA_StatusCode Trend::find() {
    std::vector<Item> pens;
    const UA_StatusCode status = listPens(session_, pens);
    if (status != UA_STATUSCODE_GOOD) return status;
    const auto matching = matchingPens(pens, pen_);
    pager_.reset();
    if (matching.empty()) {
        problem_ = "пера " + pen_ + " с историей на сервере нет";
        return UA_STATUSCODE_GOOD;
    }
    problem_.clear();
    node_ = NodeId::copyOf(*matching.front()->id.get());
    name_ = matching.front()->attribute;
    values_.clear();
    readFrom(UA_DateTime_now() - length_.count() * UA_DATETIME_SEC);
    next_ = Clock::now();
    return UA_STATUSCODE_GOOD;
}

void Trend::readFrom(UA_DateTime from) {
    pager_.emplace(
        [this](UA_DateTime begin, UA_DateTime end, std::vector<HistoryValue>& values) {
            return session_.readHistory(*node_.get(), begin, end, values);
        },
        from, from);
}

UA_StatusCode Trend::update() {
    if (!pager_ || Clock::now() < next_) return UA_STATUSCODE_GOOD;
    next_ = Clock::now() + std::chrono::seconds{1};
    now_ = UA_DateTime_now();
    pager_->extendTo(now_);
    std::vector<HistoryValue> values;
    while (true) {
        switch (pager_->next(values)) {
            case HistoryPager::Step::values:
                values_.insert(values_.end(), values.begin(), values.end());
                break;
            case HistoryPager::Step::stuck:  // a plot does not need all values of one millisecond
                readFrom(pager_->position() + UA_DATETIME_MSEC);
                forgetOld();
                return UA_STATUSCODE_GOOD;
            case HistoryPager::Step::end:
                forgetOld();
                return UA_STATUSCODE_GOOD;
            case HistoryPager::Step::failed:
                if (!session_.isConnected()) return pager_->status();
                problem_ = "история " + name_ + " не читается: " + formatQuality(pager_->status());
                pager_.reset();
                return UA_STATUSCODE_GOOD;
        }
    }
}

void Trend::forgetOld() {
    const UA_DateTime oldest = now_ - length_.count() * UA_DATETIME_SEC;
    const auto kept = std::find_if(values_.begin(), values_.end(),
                                   [oldest](const HistoryValue& v) { return v.time >= oldest; });
    values_.erase(values_.begin(), kept);
}

std::string Trend::headline() const {
    if (!problem_.empty()) return "Тренд: " + problem_;
    std::string text = "Тренд " + name_ + " за " + std::to_string(length_.count() / 60) +
                       " мин: " + rangeText(values_) + ", значений " +
                       std::to_string(values_.size());
    if (!values_.empty()) text += ", последнее " + numberText(values_.back().number);
    return text;
}

std::vector<std::string> Trend::picture(int rows, int width) const {
    std::vector<std::string> lines{fitted(headline(), width)};
    if (!problem_.empty()) return lines;
    const UA_DateTime from = now_ - length_.count() * UA_DATETIME_SEC;
    for (std::string& line : plot(values_, from, now_, rows - 1, width))
        lines.push_back(std::move(line));
    return lines;
}

std::string Trend::line() const {
    constexpr int kBlocks = 40;
    if (!problem_.empty()) return headline();
    const UA_DateTime from = now_ - length_.count() * UA_DATETIME_SEC;
    return headline() + "  " + sparkline(values_, from, now_, kBlocks);
}

}  // namespace tools::opcuaview
