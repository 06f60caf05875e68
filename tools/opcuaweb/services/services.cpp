#include "tools/opcuaweb/services/services.h"

#include "tools/opcuaweb/basics/limits.h"
#include "tools/opcuaweb/opcua/reading.h"

namespace tools::opcuaweb {

Services::Services(const Options& given)
    : options(given),
      asker(options.url),
      live(options.url, browsers),
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
    stopping_ = true;
    browsers.close();
    if (ticker_.joinable()) ticker_.join();
    asker.stop();
    live.stop();
}

/// Journal, overview and findings, each at its own pace.
void Services::tick() {
    constexpr int kTicksPerOverview = 1s / kJournalEvery;
    constexpr int kTicksPerCheck = 30s / kJournalEvery;
    for (int count = 0; !stopping_; ++count) {
        if (journal) journal->poll(browsers);
        if (configuration && count % kTicksPerCheck == 0) {
            Json findings = configuration->findings();
            const std::lock_guard lock(mutex_);
            findings_ = std::move(findings);
        }
        if (count % kTicksPerOverview == 0) browsers.publish("overview", overview());
        std::this_thread::sleep_for(kJournalEvery);
    }
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
