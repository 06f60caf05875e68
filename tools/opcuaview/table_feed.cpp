#include "tools/opcuaview/table_feed.h"

#include <algorithm>

#include "tools/opcuaview/language.h"
#include "tools/opcuaview/plant_texts.h"

namespace tools::opcuaview {

void TableFeed::setState(const std::string& text, bool lost) {
    const std::lock_guard lock{board_.mutex};
    board_.state = text;
    board_.lost = lost;
}

void TableFeed::walks(std::size_t seen) {
    setState(in({"просматриваю сервер, переменных: ", "browsing the server, variables: "}) +
                 std::to_string(seen),
             false);
}

namespace {

Row rowOf(const Item& item) {
    Row row;
    row.tag = item.tag;
    row.attribute = item.attribute;
    row.nodeId = idText(*item.id.get());
    makeSearchable(row);
    return row;
}

}  // namespace

void TableFeed::take(ItemList list) {
    list_ = std::move(list);
    nextRow_ = 0;
    nextText_ = 0;
    hasTexts_.assign(list_.items.size(), false);
    std::vector<Row> rows;
    rows.reserve(list_.items.size());
    for (const Item& item : list_.items)
        rows.push_back(rowOf(item));
    const std::lock_guard lock{board_.mutex};
    // After a reconnect the same variables are usually at the same places.
    for (std::size_t i = 0; i < std::min(rows.size(), board_.rows.size()); ++i) {
        if (rows[i].nodeId == board_.rows[i].nodeId) rows[i] = std::move(board_.rows[i]);
    }
    board_.rows = std::move(rows);
    board_.complete = list_.complete;
    board_.visible.clear();
    ++board_.texts;
}

std::vector<std::size_t> TableFeed::visibleRows() {
    const std::lock_guard lock{board_.mutex};
    return board_.visible;
}

UA_StatusCode TableFeed::readRound(Session& session, const TrendPicture* trend) {
    std::vector<std::size_t> indexes = visibleRows();
    UA_StatusCode status = readRows(session, indexes);  // first, so that the screen changes at once
    if (status != UA_STATUSCODE_GOOD) return status;
    {
        const std::lock_guard lock{board_.mutex};
        if (trend != nullptr) board_.trend = std::make_shared<const TrendPicture>(*trend);
    }
    std::vector<bool> done(list_.items.size(), false);
    for (const std::size_t index : indexes)
        done[index] = true;
    const std::size_t count = std::min(list_.items.size(), kReadsPerRound);
    indexes.clear();
    for (std::size_t i = 0; i < count; ++i, nextRow_ = (nextRow_ + 1) % list_.items.size()) {
        if (!done[nextRow_]) indexes.push_back(nextRow_);
    }
    status = readRows(session, indexes);
    if (status == UA_STATUSCODE_GOOD) setState({}, false);
    return status;
}

/// Locks the board for each request's answers only.
UA_StatusCode TableFeed::readRows(Session& session, std::span<const std::size_t> indexes) {
    constexpr std::size_t kRowsPerRequest = 1000;
    while (!indexes.empty()) {
        const auto chunk = indexes.subspan(0, std::min(indexes.size(), kRowsPerRequest));
        indexes = indexes.subspan(chunk.size());
        std::vector<const UA_NodeId*> ids;
        ids.reserve(chunk.size());
        for (const std::size_t index : chunk)
            ids.push_back(list_.items[index].id.get());
        std::vector<DataValue> values;
        const UA_StatusCode status =
            session.read(ids, UA_ATTRIBUTEID_VALUE, values, UA_TIMESTAMPSTORETURN_BOTH);
        if (status != UA_STATUSCODE_GOOD) return status;
        std::vector<Reading> readings;
        readings.reserve(values.size());
        for (const DataValue& value : values)
            readings.push_back(readingOf(*value));

        const std::lock_guard lock{board_.mutex};
        const UA_DataValue& first = *values.front();
        if (first.hasServerTimestamp) {
            board_.serverAhead = first.serverTimestamp - UA_DateTime_now();
        }
        for (std::size_t i = 0; i < chunk.size(); ++i) {
            Row& row = board_.rows[chunk[i]];
            const std::size_t before = row.changes;
            totals_.values += readings[i].hasValue ? 1 : 0;
            update(row, std::move(readings[i]), Clock::now());
            totals_.changes += row.changes - before;
        }
        ++board_.readings;
    }
    return UA_STATUSCODE_GOOD;
}

/// Those on the screen first.
std::vector<std::size_t> TableFeed::rowsWithoutTexts() {
    constexpr std::size_t kMostRows = 300;
    std::vector<std::size_t> wanted;
    const auto want = [&](std::size_t index) {
        if (!hasTexts_[index]) wanted.push_back(index);
        hasTexts_[index] = true;
    };
    for (const std::size_t index : visibleRows())
        want(index);
    for (std::size_t tags = 0; nextText_ < hasTexts_.size(); ++nextText_) {
        const bool another =
            nextText_ > 0 && list_.items[nextText_].parent != list_.items[nextText_ - 1].parent;
        tags += another ? 1 : 0;
        if (tags >= Session::kNodesPerBrowse || wanted.size() >= kMostRows) break;
        want(nextText_);
    }
    return wanted;
}

bool TableFeed::useSpareTime(Session& session) {
    const std::vector<std::size_t> indexes = rowsWithoutTexts();
    if (indexes.empty()) return false;
    std::vector<const Item*> items;
    items.reserve(indexes.size());
    for (const std::size_t index : indexes)
        items.push_back(&list_.items[index]);
    std::vector<PlantTexts> texts;
    // After a lost connection the next round fails too, and the list is read again.
    if (findPlantTexts(session, items, texts) != UA_STATUSCODE_GOOD) return false;
    const std::lock_guard lock{board_.mutex};
    for (std::size_t i = 0; i < indexes.size(); ++i) {
        Row& row = board_.rows[indexes[i]];
        row.name = std::move(texts[i].name);
        row.unit = std::move(texts[i].unit);
        row.tagUnit = std::move(texts[i].tagUnit);
        makeSearchable(row);
    }
    ++board_.texts;
    return true;
}

}  // namespace tools::opcuaview
