#include "tools/opcuaview/line_view.h"

#include <algorithm>
#include <cstdio>

#include "tools/client/details.h"
#include "tools/client/format.h"
#include "tools/client/json.h"
#include "tools/opcuaview/language.h"
#include "tools/opcuaview/terminal.h"

namespace tools::opcuaview {

using Clock = std::chrono::steady_clock;

std::size_t LineView::defaultLimit() const {
    constexpr std::size_t kLinesOfFirstRound = 100;
    return json_ ? 0 : kLinesOfFirstRound;
}

void LineView::lost(const std::string& text) {
    say(text);
}

void LineView::restored(const std::string& text) {
    say(text);
}

void LineView::take(ItemList list) {
    list_ = std::move(list);
    readings_.clear();
}

UA_StatusCode LineView::readRound(Session& session, const TrendPicture* trend) {
    constexpr auto kTrendEvery = std::chrono::seconds{5};
    std::vector<const UA_NodeId*> ids;
    for (const Item& item : list_.items)
        ids.push_back(item.id.get());
    std::vector<DataValue> values;
    const UA_StatusCode status = session.read(ids, UA_ATTRIBUTEID_VALUE, values);
    if (status != UA_STATUSCODE_GOOD) return status;

    const std::vector<Reading> before = std::exchange(readings_, {});
    for (const DataValue& value : values) {
        readings_.push_back(readingOf(*value));
        totals_.values += readings_.back().hasValue ? 1 : 0;
    }
    if (columns_.empty() && !json_) measure();
    for (std::size_t i = 0; i < readings_.size(); ++i) {
        if (!before.empty() && readings_[i].showsSameAs(before[i])) continue;
        totals_.changes += before.empty() ? 0 : 1;
        if (json_) {
            printObject(list_.items[i], *values[i]);
        } else {
            print(list_.items[i], readings_[i]);
        }
    }
    if (trend != nullptr && Clock::now() >= nextTrend_) {
        std::puts(trend->line().c_str());
        nextTrend_ = Clock::now() + kTrendEvery;
    }
    std::fflush(stdout);
    return UA_STATUSCODE_GOOD;
}

void LineView::printObject(const Item& item, const UA_DataValue& value) const {
    Json object;
    object["id"] = idText(*item.id);
    object["tag"] = item.tag;
    object["attribute"] = item.attribute;
    object["value"] = jsonOf(value.value);
    object["quality"] = formatQuality(statusOf(value));
    object["sourceTime"] =
        value.hasSourceTimestamp ? Json(isoTime(value.sourceTimestamp)) : Json(nullptr);
    std::puts(jsonLine(object).c_str());
}

void LineView::measure() {
    columns_ = {23, 3, 7, 12};
    for (std::size_t i = 0; i < list_.items.size(); ++i) {
        columns_[1] = std::max(columns_[1], displayWidth(list_.items[i].tag));
        columns_[2] = std::max(columns_[2], displayWidth(list_.items[i].attribute));
        columns_[3] = std::max(columns_[3], std::min(displayWidth(readings_[i].value), 40));
    }
    printRow({in({"Время источника", "Source time"}), in({"Тег", "Tag"}),
              in({"Атрибут", "Attribute"}), in({"Значение", "Value"})},
             in({"Качество", "Quality"}), Align::left);
}

void LineView::print(const Item& item, const Reading& reading) {
    const int width = std::max(columns_[3], displayWidth(reading.value));
    const int usual = std::exchange(columns_[3], width);
    printRow({sourceTimeText(reading), item.tag, item.attribute, reading.value}, reading.quality,
             reading.isNumber ? Align::right : Align::left);
    columns_[3] = usual;
}

void LineView::printRow(const std::vector<std::string>& cells, const std::string& last,
                        Align valueAlign) {
    std::string line;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        line += fitted(cells[i], columns_[i], i == 3 ? valueAlign : Align::left) + "  ";
    }
    std::puts((line + last).c_str());
}

}  // namespace tools::opcuaview
