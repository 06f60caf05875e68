#include "tools/opcuaweb/services/services.h"

#include "tools/opcuaweb/basics/limits.h"
#include "tools/opcuaweb/opcua/reading.h"

namespace tools::opcuaweb {

Services::Services(const Options& given)
    : options(given),
      asker(options.url),
      live(options.url, browsers, options.language),
      sweep(index),
      writes(asker, browsers) {
    if (options.journal) journal.emplace();
    if (!options.config.empty()) {
        configuration.emplace(options.config, options.settings, options.database);
    }
    asker.addBackground(serverState.job());
    asker.addBackground(index.job());
    asker.addBackground(sweep.job());
}

Services::~Services() {
    stop();
}

void Services::start() {
    asker.start();
    live.start();
    ticker_ = std::thread([this] { tick(); });
}

void Services::stop() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
        stopped_.notify_all();
    }
    browsers.close();
    if (ticker_.joinable()) ticker_.join();
    asker.stop();
    live.stop();
}

/// Journal, overview and findings, each at its own pace.
void Services::tick() {
    constexpr int kTicksPerOverview = 1s / kJournalEvery;
    constexpr int kTicksPerCheck = 30s / kJournalEvery;
    int count = 0;
    do {
        if (journal) journal->poll(browsers);
        if (configuration && count % kTicksPerCheck == 0) refreshFindings();
        if (count % kTicksPerOverview == 0) browsers.publish("overview", overview());
        ++count;
    } while (waitForTick());
}

/// Not while a browser's text is checked, which may take seconds.
void Services::refreshFindings() {
    const auto findings = configuration->findings();
    if (!findings) return;
    const std::lock_guard lock(mutex_);
    findings_ = *findings;
}

/// @return false at the end
bool Services::waitForTick() {
    std::unique_lock lock(mutex_);
    return !stopped_.wait_for(lock, kJournalEvery, [this] { return stopping_; });
}

Json Services::hello(const Browser& browser) const {
    return {{"browser", browser.id()},
            {"version", OPCUAWEB_VERSION},
            {"url", options.url},
            {"writes", options.allowWrites},
            {"journal", journal.has_value()},
            {"configuration", configuration.has_value()},
            {"limits", {{"watched", kMostWatched}}}};
}

Json Services::overview() const {
    const Sweep::Counts counts = sweep.counts();
    const auto rows = index.rows();
    const std::size_t counted = index.counted();
    Json findings;
    {
        const std::lock_guard lock(mutex_);
        findings = findings_;
    }
    const bool isCounted = rows && rows->complete && rows->rows.size() == counted;
    return {{"server", serverState.state()},
            {"variables", isCounted ? Json(counted) : Json()},
            {"counted", counted},
            {"good", counts.good},
            {"uncertain", counts.uncertain},
            {"bad", counts.bad},
            {"old", counts.old},
            {"newest", counts.newestMs ? Json(*counts.newestMs) : Json()},
            {"now", unixMs(UA_DateTime_now())},
            {"oldAfter", counts.refreshes ? kOldAfter.count() : 0},
            {"sweep", counts.endedMs ? Json(*counts.endedMs) : Json()},
            {"findings", findings},
            {"journal", journal ? journal->newest() : Json()},
            {"watched", live.watched()},
            {"browsers", browsers.count()}};
}

}  // namespace tools::opcuaweb
