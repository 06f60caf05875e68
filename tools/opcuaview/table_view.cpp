#include "tools/opcuaview/table_view.h"

#include <algorithm>
#include <utility>

namespace tools::opcuaview {

using std::chrono::milliseconds;

TableView::TableView(Board& board, Screen& screen, const WatchOptions& options)
    : board_(board),
      screen_(screen),
      options_(options),
      widths_(kColumnCount, 0),
      widest_(kColumnCount, 0) {}

// ---- Keys ---------------------------------------------------------------------------------------

bool TableView::press(const Key& key) {
    if (key.kind == Key::Kind::none) return true;
    changed_ = true;
    if (std::exchange(help_, false)) return true;
    move(key);
    if (typing_) {
        typeFilter(key);
        return true;
    }
    if (key.kind == Key::Kind::escape) choose({}, order_);
    return key.kind != Key::Kind::text || typed(key.text);
}

namespace {

/// What a key does, also on a Russian keyboard, where the same key gives another letter.
struct Command {
    enum class Kind { quit, filter, sort, reverse, help, up, down } kind;
    std::array<std::string_view, 4> keys;
};

constexpr Command kCommands[] = {
    {Command::Kind::quit, {"q", "Q", "й", "Й"}}, {Command::Kind::filter, {"/", ".", {}, {}}},
    {Command::Kind::sort, {"s", "S", "ы", "Ы"}}, {Command::Kind::reverse, {"r", "R", "к", "К"}},
    {Command::Kind::help, {"?", "h", ",", "р"}}, {Command::Kind::down, {"j", "о", " ", {}}},
    {Command::Kind::up, {"k", "л", {}, {}}},
};

}  // namespace

bool TableView::typed(const std::string& text) {
    for (const Command& command : kCommands) {
        if (std::find(command.keys.begin(), command.keys.end(), text) == command.keys.end())
            continue;
        switch (command.kind) {
            case Command::Kind::quit:
                return false;
            case Command::Kind::filter:
                typing_ = true;
                break;
            case Command::Kind::sort:
                choose(filter_, nextShownOrder());
                break;
            case Command::Kind::reverse:
                choose(filter_, {order_.column, !order_.reversed});
                break;
            case Command::Kind::help:
                help_ = true;
                break;
            case Command::Kind::down:
                move({Key::Kind::down});
                break;
            case Command::Kind::up:
                move({Key::Kind::up});
                break;
        }
    }
    return true;
}

/// Columns that are not on the screen are passed over.
Order TableView::nextShownOrder() const {
    Order order = nextOrder(order_);
    while (order.column && widths_[static_cast<std::size_t>(*order.column)] == 0)
        order = nextOrder(order);
    return order;
}

void TableView::typeFilter(const Key& key) {
    std::string filter = filter_;
    switch (key.kind) {
        case Key::Kind::text:
            filter += key.text;
            break;
        case Key::Kind::erase:
            // A character's bytes after its first are 10xxxxxx.
            while (!filter.empty() && (static_cast<unsigned char>(filter.back()) & 0xC0U) == 0x80U)
                filter.pop_back();
            if (!filter.empty()) filter.pop_back();
            break;
        case Key::Kind::escape:
            filter.clear();
            typing_ = false;
            break;
        case Key::Kind::enter:
            typing_ = false;
            break;
        default:
            return;
    }
    if (filter != filter_) choose(filter, order_);
}

void TableView::move(const Key& key) {
    const auto page = static_cast<std::size_t>(std::max(1, bodyRows() - 1));
    switch (key.kind) {
        case Key::Kind::up:
            cursor_ -= std::min<std::size_t>(cursor_, 1);
            break;
        case Key::Kind::down:
            ++cursor_;
            break;
        case Key::Kind::pageUp:
            cursor_ -= std::min(cursor_, page);
            break;
        case Key::Kind::pageDown:
            cursor_ += page;
            break;
        case Key::Kind::home:
            cursor_ = 0;
            break;
        case Key::Kind::end:
            cursor_ = chosen_.size();
            break;
        default:
            return;
    }
    clampCursor();
}

void TableView::choose(const std::string& filter, const Order& order) {
    if (filter == filter_ && order == order_) return;
    filter_ = filter;
    order_ = order;
    arrangedTexts_.reset();
    widest_.assign(kColumnCount, 0);
    cursor_ = 0;
    top_ = 0;
}

// ---- What is shown ------------------------------------------------------------------------------

int TableView::trendRows() const {
    constexpr int kLeastRows = 18;
    constexpr int kSmallTerminal = 30;
    if (options_.trend.empty() || size_.rows < kLeastRows) return 0;
    return size_.rows < kSmallTerminal ? 8 : 12;
}

int TableView::bodyRows() const {
    return std::max(1, size_.rows - kHeadRows - kFootRows - trendRows());
}

void TableView::clampCursor() {
    const auto body = static_cast<std::size_t>(bodyRows());
    cursor_ = chosen_.empty() ? 0 : std::min(cursor_, chosen_.size() - 1);
    top_ = std::min(top_, cursor_);
    if (cursor_ >= top_ + body) top_ = cursor_ - body + 1;
    // No empty rows at the end while there are rows above.
    top_ = std::min(top_, chosen_.size() - std::min(chosen_.size(), body));
}

/// The board is locked. A long table is not sorted by its values more often than leaves time for
/// everything else.
void TableView::arrange() {
    const Clock::time_point now = Clock::now();
    const bool moved = arrangedTexts_ != board_.texts;
    const bool live = order_.isLive() && arrangedReadings_ != board_.readings &&
                      now - arrangedAt_ >= 4 * arranging_;
    if (!moved && !live) return;
    chosen_ = chosenRows(board_.rows, filter_, order_);
    arrangedTexts_ = board_.texts;
    arrangedReadings_ = board_.readings;
    arrangedAt_ = Clock::now();
    arranging_ = arrangedAt_ - now;
}

/// The board is locked.
void TableView::count() {
    const Clock::time_point now = Clock::now();
    counts_.chosen = chosen_.size();
    if (counts_.all == board_.rows.size() && now - countedAt_ < std::chrono::seconds{1}) return;
    countedAt_ = now;
    counts_.all = board_.rows.size();
    counts_.marks = {};
    const UA_DateTime time = UA_DateTime_now() + board_.serverAhead;
    for (const Row& row : board_.rows) {
        if (!row.wasRead) continue;
        const Mark mark = markOf(row.reading, time,
                                 static_cast<UA_DateTime>(options_.oldSeconds * UA_DATETIME_SEC));
        ++counts_.marks[static_cast<std::size_t>(mark)];
    }
}

TableView::Snapshot TableView::snapshot() {
    const std::lock_guard lock{board_.mutex};
    arrange();
    clampCursor();
    count();
    Snapshot shown;
    board_.visible.clear();
    const std::size_t end = std::min(chosen_.size(), top_ + static_cast<std::size_t>(bodyRows()));
    for (std::size_t place = top_; place < end; ++place) {
        board_.visible.push_back(chosen_[place]);
        shown.rows.push_back(board_.rows[chosen_[place]]);
    }
    drawnReadings_ = board_.readings;
    shown.now = UA_DateTime_now() + board_.serverAhead;
    shown.state = board_.state;
    shown.lost = board_.lost;
    shown.complete = board_.complete;
    shown.trend = board_.trend;
    return shown;
}

/// Ages and flashes change without new readings.
bool TableView::isStale() const {
    constexpr milliseconds kLongest{250};
    if (changed_ || Clock::now() - drawnAt_ >= kLongest) return true;
    const std::lock_guard lock{board_.mutex};
    return drawnReadings_ != board_.readings;
}

}  // namespace tools::opcuaview
