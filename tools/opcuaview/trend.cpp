#include "tools/opcuaview/trend.h"

#include <algorithm>

#include "tools/client/format.h"
#include "tools/client/item_list.h"
#include "tools/opcuaview/language.h"
#include "tools/opcuaview/pens.h"
#include "tools/opcuaview/plot.h"
#include "tools/text/text.h"

namespace tools::opcuaview {

std::string TrendPicture::headline() const {
    const std::string trend = in({"Тренд", "Trend"});
    if (!problem.empty()) return trend + ": " + problem;
    std::string text = trend + " " + name + in({" за ", ", "}) +
                       std::to_string(length.count() / 60) + in({" мин: ", " min: "}) +
                       rangeText(values) + in({", значений ", ", values: "}) +
                       std::to_string(values.size());
    if (!values.empty()) {
        text += in({", последнее ", ", the last one "}) + numberText(values.back().number);
    }
    return text;
}

std::vector<std::string> TrendPicture::lines(int rows, int width) const {
    std::vector<std::string> result{fitted(headline(), width)};
    if (!problem.empty()) return result;
    for (std::string& line : plot(values, begin(), now, rows - 1, width))
        result.push_back(std::move(line));
    return result;
}

std::string TrendPicture::line() const {
    constexpr int kBlocks = 40;
    if (!problem.empty()) return headline();
    return headline() + "  " + sparkline(values, begin(), now, kBlocks);
}

UA_StatusCode Trend::find() {
    std::vector<Item> pens;
    const UA_StatusCode status = listPens(session_, pens);
    if (status != UA_STATUSCODE_GOOD) return status;
    const auto matching = matchingPens(pens, pen_);
    pager_.reset();
    if (matching.empty()) {
        picture_.problem = in({"пера ", "the server has no pen "}) + pen_ +
                           in({" с историей на сервере нет", " with a history"});
        return UA_STATUSCODE_GOOD;
    }
    picture_.problem.clear();
    node_ = NodeId::copyOf(*matching.front()->id.get());
    picture_.name = matching.front()->attribute;
    picture_.values.clear();
    readFrom(UA_DateTime_now() - picture_.length.count() * UA_DATETIME_SEC);
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
    picture_.now = UA_DateTime_now();
    pager_->extendTo(picture_.now);
    std::vector<HistoryValue> values;
    while (true) {
        switch (pager_->next(values)) {
            case HistoryPager::Step::values:
                picture_.values.insert(picture_.values.end(), values.begin(), values.end());
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
                picture_.problem = in({"история ", "the history of "}) + picture_.name +
                                   in({" не читается: ", " is not readable: "}) +
                                   formatQuality(pager_->status());
                pager_.reset();
                return UA_STATUSCODE_GOOD;
        }
    }
}

void Trend::forgetOld() {
    const UA_DateTime oldest = picture_.now - picture_.length.count() * UA_DATETIME_SEC;
    std::vector<HistoryValue>& values = picture_.values;
    values.erase(values.begin(),
                 std::find_if(values.begin(), values.end(),
                              [oldest](const HistoryValue& v) { return v.time >= oldest; }));
}

}  // namespace tools::opcuaview
