#include "tools/opcuaweb/streams/browsers.h"

#include <algorithm>

#include "tools/opcuaweb/basics/limits.h"
#include "tools/opcuaweb/basics/random_id.h"

namespace tools::opcuaweb {

// ---- One page ----------------------------------------------------------------------------------

void Browser::put(const std::string& event, std::string data) {
    const std::lock_guard lock(mutex_);
    const auto waiting =
        std::ranges::find(events_, event, &std::pair<std::string, std::string>::first);
    if (waiting != events_.end()) {
        waiting->second = std::move(data);
    } else {
        events_.emplace_back(event, std::move(data));
    }
    changed_.notify_all();
}

void Browser::putValue(const std::string& node, const std::string& cell) {
    const std::lock_guard lock(mutex_);
    if (!watched_.contains(node)) return;
    if (values_.empty()) {
        // One waking for a whole lot, not before the rest of it has come.
        nextValues_ = std::max(nextValues_, Clock::now() + kLotComplete);
        changed_.notify_all();
    }
    values_[node] = cell;
}

void Browser::putMessages(const std::vector<std::string>& messages) {
    const std::lock_guard lock(mutex_);
    messages_.insert(messages_.end(), messages.begin(), messages.end());
    if (messages_.size() > kMostWaitingMessages) {
        const auto surplus = static_cast<std::ptrdiff_t>(messages_.size() - kMostWaitingMessages);
        messages_.erase(messages_.begin(), messages_.begin() + surplus);
    }
    changed_.notify_all();
}

void Browser::watch(std::unordered_set<std::string> nodes) {
    const std::lock_guard lock(mutex_);
    watched_ = std::move(nodes);
    std::erase_if(values_, [this](const auto& value) { return !watched_.contains(value.first); });
}

std::unordered_set<std::string> Browser::watched() const {
    const std::lock_guard lock(mutex_);
    return watched_;
}

bool Browser::isDue(Clock::time_point now) const {
    return closed_ || !events_.empty() || !messages_.empty() ||
           (!values_.empty() && now >= nextValues_);
}

std::string Browser::take(std::chrono::milliseconds time) {
    std::unique_lock lock(mutex_);
    const auto end = Clock::now() + time;
    for (auto now = Clock::now(); !isDue(now) && now < end; now = Clock::now()) {
        changed_.wait_until(lock, values_.empty() ? end : std::min(end, nextValues_));
    }
    const auto now = Clock::now();
    if (closed_) return {};
    return isDue(now) ? taken(now) : ": \n\n";
}

namespace {

void appendEvent(std::string& text, const std::string& event, const std::string& data) {
    text.append("event: ").append(event).append("\ndata: ").append(data).append("\n\n");
}

void appendItem(std::string& array, const std::string& item) {
    array.append(array.empty() ? "[" : ",").append(item);
}

}  // namespace

std::string Browser::taken(Clock::time_point now) {
    std::string text;
    for (const auto& [event, data] : events_) {
        appendEvent(text, event, data);
    }
    events_.clear();
    std::string array;
    for (const std::string& message : messages_) {
        appendItem(array, message);
    }
    if (!array.empty()) appendEvent(text, "journal", array + "]");
    messages_.clear();
    if (values_.empty() || now < nextValues_) return text;
    array.clear();
    for (const auto& [node, cell] : values_) {
        appendItem(array, cell);
    }
    appendEvent(text, "values", array + "]");
    values_.clear();
    nextValues_ = now + kValuesEvery;
    return text;
}

void Browser::close() {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    changed_.notify_all();
}

// ---- All pages ---------------------------------------------------------------------------------

std::shared_ptr<Browser> Browsers::add() {
    const std::lock_guard lock(mutex_);
    if (closed_ || browsers_.size() >= kMostBrowsers) return nullptr;
    auto browser = std::make_shared<Browser>(randomId());
    browsers_[browser->id()] = browser;
    return browser;
}

void Browsers::release(const std::unordered_set<std::string>& nodes) {
    for (const std::string& node : nodes) {
        const auto found = nodes_.find(node);
        if (found == nodes_.end() || --found->second.pages > 0) continue;
        nodes_.erase(found);
        ++version_;
    }
}

void Browsers::remove(const Browser& browser) {
    const std::lock_guard lock(mutex_);
    if (browsers_.erase(browser.id()) > 0) release(browser.watched());
}

std::shared_ptr<Browser> Browsers::find(const std::string& id) const {
    const std::lock_guard lock(mutex_);
    const auto found = browsers_.find(id);
    return found == browsers_.end() ? nullptr : found->second;
}

std::size_t Browsers::count() const {
    const std::lock_guard lock(mutex_);
    return browsers_.size();
}

void Browsers::close() {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    for (const auto& [id, browser] : browsers_) {
        browser->close();
    }
}

void Browsers::publish(const std::string& event, const Json& data) {
    const std::string text = jsonLine(data);
    const std::lock_guard lock(mutex_);
    for (const auto& [id, browser] : browsers_) {
        browser->put(event, text);
    }
}

void Browsers::publishMessages(const std::vector<Json>& messages) {
    std::vector<std::string> texts;
    std::ranges::transform(messages, std::back_inserter(texts), jsonLine);
    const std::lock_guard lock(mutex_);
    for (const auto& [id, browser] : browsers_) {
        browser->putMessages(texts);
    }
}

void Browsers::publishValue(const std::string& node, const Json& cell) {
    const std::string text = jsonLine(cell);
    const std::lock_guard lock(mutex_);
    const auto found = nodes_.find(node);
    if (found == nodes_.end()) return;  // nobody watches it any more
    found->second.cell = text;
    for (const auto& [id, browser] : browsers_) {
        browser->putValue(node, text);
    }
}

void Browsers::watch(Browser& browser, const std::vector<std::string>& nodes) {
    const std::lock_guard lock(mutex_);
    if (!browsers_.contains(browser.id())) return;  // its stream has ended meanwhile
    const std::unordered_set<std::string> now(nodes.begin(), nodes.end());
    for (const std::string& node : now) {
        if (++nodes_[node].pages == 1) ++version_;
    }
    release(browser.watched());
    browser.watch(now);
    for (const std::string& node : now) {
        const std::string& cell = nodes_[node].cell;
        if (!cell.empty()) browser.putValue(node, cell);
    }
}

std::unordered_set<std::string> Browsers::wanted() const {
    const std::lock_guard lock(mutex_);
    std::unordered_set<std::string> wanted;
    for (const auto& [node, watched] : nodes_) {
        wanted.insert(node);
    }
    return wanted;
}

std::size_t Browsers::wantedVersion() const {
    const std::lock_guard lock(mutex_);
    return version_;
}

}  // namespace tools::opcuaweb
