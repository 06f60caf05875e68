#include "tools/opcuaweb/tree/sweep.h"

#include <algorithm>
#include <chrono>
#include <string_view>

#include "tools/opcuaweb/basics/limits.h"
#include "tools/opcuaweb/opcua/reading.h"

namespace tools::opcuaweb {

Asker::Job Sweep::job() {
    return [this](Session* session) { return step(session); };
}

Sweep::Counts Sweep::counts() const {
    const std::lock_guard lock(mutex_);
    return counts_;
}

std::optional<Json> Sweep::attention(const std::string& kind, std::size_t limit) const {
    const std::lock_guard lock(mutex_);
    const std::map<std::string, std::size_t> counted = {
        {"bad", counts_.bad}, {"uncertain", counts_.uncertain}, {"old", counts_.old}};
    const auto count = counted.find(kind);
    if (count == counted.end()) return std::nullopt;
    Json rows = Json::array();
    const auto noted = notes_.find(kind);
    for (const Row& row : noted == notes_.end() ? std::vector<Row>{} : noted->second) {
        if (rows.size() < limit) rows.push_back(rowJson(row));
    }
    return Json{{"complete", rows.size() == count->second}, {"rows", std::move(rows)}};
}

Asker::Step Sweep::step(Session* session) {
    const auto now = Clock::now();
    if (session == nullptr) {  // the next one may be another server's
        rows_.reset();
        before_.clear();
        refreshes_ = false;
    }
    if (session == nullptr || now < nextStep_) return Asker::Step::later;
    nextStep_ = now + kSweepChunkEvery;
    if (!rows_ && now < nextSweep_) {
        freshen(*session);
        return Asker::Step::later;
    }
    if (!rows_) {
        rows_ = index_.rows();
        if (!rows_) return Asker::Step::later;
        next_ = 0;
        running_ = {};
        stood_ = refreshed_ = 0;
        runningNotes_.clear();
        nextSweep_ = now + kSweepEvery;
    }
    if (!readChunk(*session)) {
        rows_.reset();
        return Asker::Step::later;
    }
    if (next_ == rows_->rows.size()) finish();
    return Asker::Step::later;
}

void Sweep::finish() {
    rows_.reset();
    running_.endedMs = unixMs(UA_DateTime_now());
    refreshes_ = refreshes_ || 2 * refreshed_ > stood_;  // a few may have changed and changed back
    running_.refreshes = refreshes_;
    const std::lock_guard lock(mutex_);
    counts_ = running_;
    notes_ = std::move(runningNotes_);
}

/// Between two sweeps, whether the newest value goes on being newer: the plant has not stopped.
void Sweep::freshen(Session& session) {
    using namespace std::chrono_literals;
    nextStep_ = Clock::now() + 1s;
    NodeId id;
    std::vector<DataValue> values;
    if (!parseId(newest_, id)) return;
    if (session.read({id.get()}, UA_ATTRIBUTEID_VALUE, values) != UA_STATUSCODE_GOOD) return;
    if (!values.front()->hasSourceTimestamp) return;
    showNewest(unixMs(values.front()->sourceTimestamp));
}

/// During a sweep and between two of them.
void Sweep::showNewest(std::optional<std::int64_t> timeMs) {
    const std::lock_guard lock(mutex_);
    counts_.newestMs = std::max(counts_.newestMs, timeMs);  // none is less than any
}

bool Sweep::readChunk(Session& session) {
    const std::size_t count = std::min(kSweepChunk, rows_->rows.size() - next_);
    std::vector<NodeId> ids(count);
    std::vector<const UA_NodeId*> nodes;
    for (std::size_t i = 0; i < count; ++i) {
        static_cast<void>(parseId(rows_->rows[next_ + i].id, ids[i]));
        nodes.push_back(ids[i].get());
    }
    std::vector<DataValue> values;
    if (session.read(nodes, UA_ATTRIBUTEID_VALUE, values) != UA_STATUSCODE_GOOD) return false;
    const std::int64_t nowMs = unixMs(UA_DateTime_now());
    for (std::size_t i = 0; i < count; ++i) {
        const Row& row = rows_->rows[next_ + i];
        if (row.readable) this->count(row, *values[i], nowMs);
    }
    next_ += count;
    showNewest(running_.newestMs);
    return true;
}

void Sweep::note(std::string_view condition, const Row& row) {
    auto& rows = runningNotes_[std::string(condition)];
    if (rows.size() < kMostNoted) rows.push_back(row);
}

namespace {

constexpr auto kOldMs = std::chrono::milliseconds(kOldAfter).count();

/// Nodes that are compared from sweep to sweep: some of them stand still on every server.
constexpr std::size_t kCompared = 200;

}  // namespace

/// Each variable counts once, under its worst condition. A pen is never old: what counts is its history.
/// Nor is anything on a server that reports a value's time only when the value changes.
std::string_view Sweep::conditionOf(const Row& row, int quality,
                                    std::optional<std::int64_t> ageMs) const {
    if (quality == 2) return "bad";
    if (refreshes_ && !row.history && ageMs && *ageMs > kOldMs) return "old";
    return quality == 1 ? "uncertain" : "good";
}

void Sweep::compare(const std::string& id, const UA_DataValue& value, std::int64_t timeMs) {
    const auto before = before_.find(id);
    if (before == before_.end() && before_.size() >= kCompared) return;
    std::pair<Json, std::int64_t> now(shownValue(value.value), timeMs);
    if (before != before_.end() && before->second.first == now.first) {
        ++stood_;
        if (before->second.second < timeMs) ++refreshed_;
    }
    before_.insert_or_assign(id, std::move(now));
}

void Sweep::count(const Row& row, const UA_DataValue& value, std::int64_t nowMs) {
    std::optional<std::int64_t> time;
    if (value.hasSourceTimestamp && isTime(value.sourceTimestamp)) {
        time = unixMs(value.sourceTimestamp);
    }
    const int quality = qualityOf(value.hasStatus ? value.status : UA_STATUSCODE_GOOD);
    if (time && !row.history) compare(row.id, value, *time);
    const auto age = time ? std::optional(nowMs - *time) : std::nullopt;
    const std::string_view condition = conditionOf(row, quality, age);
    if (condition == "good") ++running_.good;
    if (condition == "uncertain") ++running_.uncertain;
    if (condition == "old") ++running_.old;
    if (condition == "bad") ++running_.bad;
    if (condition != "good") note(condition, row);
    // A clock that is far ahead would hide that the others have stopped.
    if (!time || *time > nowMs + kOldMs) return;
    if (running_.newestMs && *time <= *running_.newestMs) return;
    running_.newestMs = time;
    newest_ = row.id;
}

}  // namespace tools::opcuaweb
