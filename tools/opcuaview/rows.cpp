#include "tools/opcuaview/rows.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <numeric>

#include "tools/text/text.h"

namespace tools::opcuaview {

void makeSearchable(Row& row) {
    // A line end separates the texts: no word of a filter contains one.
    row.searchable = lowered(row.tag + "\n" + row.name + "\n" + row.attribute + "\n" + row.unit +
                             "\n" + row.tagUnit + "\n" + row.nodeId);
}

void update(Row& row, Reading reading, Clock::time_point now) {
    if (row.wasRead && !row.reading.showsSameAs(reading)) {
        ++row.changes;
        row.changedAt = now;
    }
    row.reading = std::move(reading);
    row.wasRead = true;
}

Order nextOrder(const Order& order) {
    if (!order.column) return {Column::tag};
    const int next = static_cast<int>(*order.column) + 1;
    if (next == kColumnCount) return {};
    return {static_cast<Column>(next)};
}

namespace {

std::vector<std::string> wordsOf(std::string_view filter) {
    std::vector<std::string> words;
    const std::string text = lowered(filter);
    for (std::size_t from = 0; (from = text.find_first_not_of(' ', from)) != std::string::npos;) {
        const std::size_t end = std::min(text.find(' ', from), text.size());
        words.push_back(text.substr(from, end - from));
        from = end;
    }
    return words;
}

/// Whether the row has nothing in the column.
bool lacks(const Row& row, Column column) {
    switch (column) {
        case Column::name:
            return row.name.empty();
        case Column::value:
            return !row.reading.hasValue ||
                   (row.reading.isNumber && std::isnan(row.reading.number));
        case Column::unit:
            return row.shownUnit().empty();
        case Column::age:
            return row.reading.time == 0;
        default:
            return false;
    }
}

int compared(const std::string& a, const std::string& b) {
    return strverscmp(a.c_str(), b.c_str());
}

template <class Number>
int comparedNumbers(Number a, Number b) {
    return (a > b ? 1 : 0) - (a < b ? 1 : 0);
}

int comparedValues(const Reading& a, const Reading& b) {
    if (a.isNumber != b.isNumber) return a.isNumber ? -1 : 1;
    return a.isNumber ? comparedNumbers(a.number, b.number) : compared(a.value, b.value);
}

/// The two highest bits of a status distinguish Bad, Uncertain and Good.
int comparedQualities(const Reading& a, const Reading& b) {
    const int severity = comparedNumbers(b.status >> 30U, a.status >> 30U);
    return severity != 0 ? severity : compared(a.quality, b.quality);
}

/// Negative if `a` comes first.
int compared(const Row& a, const Row& b, Column column) {
    switch (column) {
        case Column::tag:
            return compared(a.tag, b.tag);
        case Column::name:
            return compared(a.name, b.name);
        case Column::attribute:
            return compared(a.attribute, b.attribute);
        case Column::value:
            return comparedValues(a.reading, b.reading);
        case Column::unit:
            return compared(a.shownUnit(), b.shownUnit());
        case Column::quality:
            return comparedQualities(a.reading, b.reading);
        case Column::age:
            return comparedNumbers(a.reading.time, b.reading.time);
        case Column::changes:
            return comparedNumbers(b.changes, a.changes);
    }
    return 0;
}

}  // namespace

std::vector<std::size_t> chosenRows(const std::vector<Row>& rows, std::string_view filter,
                                    const Order& order) {
    const std::vector<std::string> words = wordsOf(filter);
    std::vector<std::size_t> chosen;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const bool matches = std::all_of(words.begin(), words.end(), [&](const std::string& word) {
            return rows[i].searchable.find(word) != std::string::npos;
        });
        if (matches) chosen.push_back(i);
    }
    if (!order.column) {
        if (order.reversed) std::reverse(chosen.begin(), chosen.end());
        return chosen;
    }
    std::stable_sort(chosen.begin(), chosen.end(), [&](std::size_t left, std::size_t right) {
        const Row& a = rows[left];
        const Row& b = rows[right];
        const bool without = lacks(a, *order.column);
        if (without || lacks(b, *order.column)) return !without;
        const int difference = compared(a, b, *order.column);
        return order.reversed ? difference > 0 : difference < 0;
    });
    return chosen;
}

Mark markOf(const Reading& reading, UA_DateTime now, UA_DateTime oldAfter) {
    if (UA_StatusCode_isBad(reading.status)) return Mark::bad;
    if (UA_StatusCode_isUncertain(reading.status)) return Mark::uncertain;
    const bool old = oldAfter > 0 && reading.time != 0 && now - reading.time >= oldAfter;
    return old ? Mark::old : Mark::none;
}

char signOf(Mark mark) {
    constexpr char kSigns[] = {' ', '~', '?', '!'};
    return kSigns[static_cast<int>(mark)];
}

std::string ageText(const Reading& reading, UA_DateTime now, Language language) {
    if (reading.time == 0) return "—";
    const struct {
        long long seconds;  // in one of the unit
        long long upTo;     // the least age that the next unit shows
        Text unit;
    } units[] = {{1, 60, {" с", " s"}},
                 {60, 3600, {" мин", " min"}},
                 {3600, 48 * 3600, {" ч", " h"}},
                 {24 * 3600, std::numeric_limits<long long>::max(), {" д", " d"}}};
    const long long seconds = (now - reading.time) / UA_DATETIME_SEC;
    const auto* unit = units;
    while (std::abs(seconds) >= unit->upTo)
        ++unit;
    return std::to_string(seconds / unit->seconds) + unit->unit.in(language);
}

}  // namespace tools::opcuaview
