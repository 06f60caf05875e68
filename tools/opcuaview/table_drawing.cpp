#include <algorithm>
#include <utility>

#include "tools/opcuaview/language.h"
#include "tools/opcuaview/table_view.h"
#include "tools/text/text.h"

namespace tools::opcuaview {

using std::chrono::milliseconds;

namespace {

constexpr int kSignWidth = 3;  // in front of each row
constexpr milliseconds kFlash{800};

}  // namespace

void TableView::draw() {
    if (!isStale()) return;
    const TerminalSize size = screen_.begin();
    if (size != std::exchange(size_, size)) widest_.assign(kColumnCount, 0);
    if (help_) {
        drawHelp();
    } else {
        const Snapshot shown = snapshot();
        drawHeading(shown);
        drawTable(shown);
        if (shown.trend != nullptr && trendRows() > 0) {
            int line = kHeadRows + bodyRows();
            for (const std::string& text :
                 shown.trend->lines(trendRows(), std::max(size_.columns, 30)))
                screen_.put(line++, 0, text, Style::plain);
        }
        drawFoot();
    }
    screen_.end();
    changed_ = false;
    drawnAt_ = Clock::now();
}

void TableView::drawHeading(const Snapshot& shown) {
    std::string text;
    const auto add = [&text](const Text& what, std::size_t number) {
        text += (text.empty() ? " " : ", ") + in(what) + std::to_string(number);
    };
    const auto marked = [this](Mark mark) { return counts_.marks[static_cast<std::size_t>(mark)]; };
    add({"переменных: ", "variables: "}, counts_.all);
    if (!shown.complete) text += in({" (не все)", " (not all)"});
    if (!filter_.empty()) add({"показано: ", "shown: "}, counts_.chosen);
    if (marked(Mark::bad) > 0) add({"! плохих: ", "! bad: "}, marked(Mark::bad));
    if (marked(Mark::uncertain) > 0) {
        add({"? сомнительных: ", "? uncertain: "}, marked(Mark::uncertain));
    }
    if (marked(Mark::old) > 0) add({"~ старых: ", "~ old: "}, marked(Mark::old));
    text += "   " + options_.url;
    if (!shown.state.empty()) text = " " + shown.state;
    screen_.put(0, 0, fitted(text, size_.columns), shown.lost ? Style::alarm : Style::heading);
}

namespace {

struct ColumnText {
    Text title;
    ColumnRule rule;
    Align align;
};

// By `Column`.
constexpr ColumnText kColumns[] = {
    {{"Тег", "Tag"}, {6, 1}, Align::left},
    {{"Наименование", "Name"}, {10, 6}, Align::left},
    {{"Атрибут", "Attribute"}, {7, 3}, Align::left},
    {{"Значение", "Value"}, {8, 2}, Align::left},
    {{"Ед.", "Unit"}, {4, 7}, Align::left},
    {{"Качество", "Quality"}, {8, 5}, Align::left},
    {{"Возраст", "Age"}, {6, 4}, Align::right},
    {{"Изм.", "Chg."}, {5, 8}, Align::right},
};
static_assert(std::size(kColumns) == kColumnCount);

constexpr int kWidestText = 40;  // more is shown below the table

}  // namespace

TableView::Cells TableView::titles() const {
    Cells cells;
    for (std::size_t i = 0; i < cells.size(); ++i)
        cells[i] = in(kColumns[i].title);
    if (order_.column) {
        cells[static_cast<std::size_t>(*order_.column)] += order_.reversed ? "▼" : "▲";
    }
    return cells;
}

TableView::Cells TableView::cellsOf(const Row& row, UA_DateTime now) {
    if (!row.wasRead) return {row.tag, row.name, row.attribute, {}, {}, {}, {}, {}};
    const std::string changes = row.changes == 0 ? "" : std::to_string(row.changes);
    return {row.tag,
            row.name,
            row.attribute,
            row.reading.value,
            row.shownUnit(),
            row.reading.quality,
            ageText(row.reading, now, language()),
            changes};
}

/// Widths only grow, so that a live table does not jump.
void TableView::widen(const Cells& cells) {
    for (std::size_t i = 0; i < cells.size(); ++i)
        widest_[i] = std::max(widest_[i], std::min(displayWidth(cells[i]), kWidestText));
}

void TableView::drawTitles(const Cells& heads) {
    int column = kSignWidth;
    for (std::size_t i = 0; i < widths_.size(); ++i) {
        if (widths_[i] == 0) continue;
        screen_.put(1, column, fitted(heads[i], widths_[i], kColumns[i].align), Style::faint);
        column += widths_[i] + kColumnGap;
    }
}

void TableView::drawTable(const Snapshot& shown) {
    std::vector<Cells> cells;
    for (const Row& row : shown.rows)
        widen(cells.emplace_back(cellsOf(row, shown.now)));
    std::vector<ColumnRule> rules;
    const Cells heads = titles();
    std::vector<int> widest = widest_;
    for (std::size_t i = 0; i < widest.size(); ++i) {
        rules.push_back(kColumns[i].rule);
        // Without a text, a name or a unit has no column; others appear as soon as values do.
        const bool optional = i == static_cast<std::size_t>(Column::name) ||
                              i == static_cast<std::size_t>(Column::unit);
        if (widest[i] > 0 || !optional) widest[i] = std::max(widest[i], displayWidth(heads[i]));
    }
    widths_ = columnWidths(rules, widest, size_.columns - kSignWidth);
    drawTitles(heads);
    for (std::size_t i = 0; i < shown.rows.size(); ++i) {
        drawRow(kHeadRows + static_cast<int>(i), shown.rows[i], cells[i], top_ + i == cursor_,
                shown.now);
    }
    if (cursor_ >= top_ && cursor_ - top_ < shown.rows.size()) {
        drawDetail(shown.rows[cursor_ - top_]);
    }
}

namespace {

Style styleOf(Mark mark) {
    constexpr Style kStyles[] = {Style::plain, Style::old, Style::uncertain, Style::bad};
    return kStyles[static_cast<std::size_t>(mark)];
}

}  // namespace

void TableView::drawRow(int line, const Row& row, const Cells& cells, bool selected,
                        UA_DateTime now) {
    const auto oldAfter = static_cast<UA_DateTime>(options_.oldSeconds * UA_DATETIME_SEC);
    const Mark mark = row.wasRead ? markOf(row.reading, now, oldAfter) : Mark::none;
    const bool flashes = row.changes > 0 && Clock::now() - row.changedAt < kFlash;
    if (selected)
        screen_.put(line, 0, std::string(static_cast<std::size_t>(size_.columns), ' '),
                    Style::plain, true);
    screen_.put(line, 0, {signOf(mark), flashes ? '*' : ' '}, styleOf(mark), selected);
    int place = kSignWidth;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        if (widths_[i] == 0) continue;
        const auto column = static_cast<Column>(i);
        const bool marked =
            column == Column::value || column == Column::quality || column == Column::age;
        Style style = marked ? styleOf(mark) : Style::plain;
        if (flashes && column == Column::value && mark == Mark::none) style = Style::changed;
        const bool right = column == Column::value && row.reading.isNumber;
        screen_.put(line, place,
                    fitted(cells[i], widths_[i], right ? Align::right : kColumns[i].align), style,
                    selected);
        place += widths_[i] + kColumnGap;
    }
}

/// What the columns may have cut.
void TableView::drawDetail(const Row& row) {
    std::string text = row.nodeId;
    if (row.wasRead) {
        text += "  " + sourceTimeText(row.reading) + "  " + row.reading.value + "  " +
                row.reading.quality;
    }
    screen_.put(size_.rows - 2, 0, fitted(text, size_.columns), Style::faint);
}

void TableView::drawFoot() {
    std::string text = in({" / фильтр  s порядок  r наоборот  ? справка  q выход",
                           " / filter  s sort  r reverse  ? help  q quit"});
    if (typing_) {
        text = in({" Фильтр: ", " Filter: "}) + filter_ + "_" +
               in({"   Enter — готово, Esc — без фильтра", "   Enter: done, Esc: no filter"});
    } else if (!filter_.empty()) {
        text = in({" Фильтр: ", " Filter: "}) + filter_ +
               in({"   Esc — без фильтра", "   Esc: no filter"}) + "  " + text;
    }
    screen_.put(size_.rows - 1, 0, fitted(text, size_.columns), Style::heading);
}

namespace {

constexpr Text kHelp[] = {
    {"↑ ↓ PgUp PgDn Home End   прокрутка", "↑ ↓ PgUp PgDn Home End   scroll"},
    {"/    фильтр: слова из тега, наименования, атрибута, единицы или узла",
     "/    filter: words of tag, name, attribute, unit or node id"},
    {"Esc  без фильтра", "Esc  no filter"},
    {"s    порядок по следующему столбцу, после последнего — как на сервере",
     "s    sort by the next column, after the last one as on the server"},
    {"r    в обратном порядке", "r    reverse the order"},
    {"q    выход, как и Ctrl-C", "q    quit, as does Ctrl-C"},
    {"", ""},
    {"!    плохое качество", "!    bad quality"},
    {"?    сомнительное качество", "?    uncertain quality"},
    {"~    старое значение (--old)", "~    old value (--old)"},
    {"*    только что изменилось", "*    has just changed"},
    {"Изм. сколько раз изменились значение или качество",
     "Chg. how often value or quality changed"},
    {"", ""},
    {"Любая клавиша — назад к таблице", "Any key: back to the table"},
};

}  // namespace

void TableView::drawHelp() {
    int line = 0;
    for (const Text& text : kHelp)
        screen_.put(line++, 1, fitted(in(text), std::max(1, size_.columns - 1)), Style::plain);
}

}  // namespace tools::opcuaview
