#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "told_script.h"

// The library's symbols, declared once more and from what is known of the real one alone: if the
// interface that the server is built with had another layout or other symbols, the tests would see
// it. The objects are of other sizes than the server takes them for, as the real ones may be.

struct OPCHDAITEMDEF {
    unsigned plotter;
    unsigned pen;
};

struct OPCHDAITEM {
    std::uint32_t count;
    ToldValue* values;
};

namespace jxo {
struct CTrendsControlSettingsExt {
    std::array<char, 200> bytes;
};
struct CPlotterSettingsExt {
    std::array<char, 300> bytes;
};
struct CPenSettingsExt {
    std::array<char, 100> bytes;
};
}  // namespace jxo

#define TOLD_EXPORT __attribute__((visibility("default")))

class TOLD_EXPORT IHDA_SyncRead {
  public:
    virtual ~IHDA_SyncRead();
    IHDA_SyncRead();
    int ReadRaw(timeval* start, timeval* end, unsigned count, bool bounds, unsigned itemCount,
                OPCHDAITEMDEF* items, OPCHDAITEM** results, int** errors);

  private:
    std::string name_ = "a reader whose text is too long for the object itself";
};

class TOLD_EXPORT IHDA_BrowseConfig {
  public:
    IHDA_BrowseConfig();
    ~IHDA_BrowseConfig();
    int GetConfigAll(bool flag, jxo::CTrendsControlSettingsExt** settings);
    int GetConfigPlotters(unsigned itemCount, OPCHDAITEMDEF* items, bool flag,
                          jxo::CPlotterSettingsExt** settings, int** errors);
    int GetConfigPens(unsigned itemCount, OPCHDAITEMDEF* items, jxo::CPenSettingsExt** settings,
                      int** errors);

  private:
    jxo::CTrendsControlSettingsExt all_{};
    jxo::CPlotterSettingsExt plotter_{};
    jxo::CPenSettingsExt pen_{};
    int error_ = 0;
};

// ---- Log ---------------------------------------------------------------------------------------

/// Appends a line to the file that TOLD_TRENDS_LOG names; without it nothing is logged.
[[gnu::format(printf, 1, 2)]] static void log(const char* format, ...) {
    static std::FILE* const file = [] {
        const char* path = std::getenv("TOLD_TRENDS_LOG");
        return path != nullptr ? std::fopen(path, "a") : nullptr;
    }();
    if (file == nullptr) return;
    va_list arguments;
    va_start(arguments, format);
    (void)std::vfprintf(file, format, arguments);
    va_end(arguments);
    (void)std::fputc('\n', file);
    (void)std::fflush(file);
}

// ---- Reading -----------------------------------------------------------------------------------

IHDA_SyncRead::IHDA_SyncRead() {
    log("SyncRead");
}

IHDA_SyncRead::~IHDA_SyncRead() {
    log("~SyncRead");
}

static bool within(const ToldValue& value, const timeval& start, const timeval& end) {
    const auto micros = [](std::int64_t seconds, std::int64_t part) {
        return static_cast<__int128>(seconds) * 1'000'000 + part;
    };
    const auto at = micros(value.seconds, value.micros);
    return micros(start.tv_sec, start.tv_usec) <= at && at <= micros(end.tv_sec, end.tv_usec);
}

/// An answer of the caller's; an empty one has an array too.
static OPCHDAITEM* makeAnswer(const std::vector<ToldValue>& values) {
    auto* const item = new OPCHDAITEM;
    item->count = static_cast<std::uint32_t>(values.size());
    item->values = new ToldValue[values.size()];
    if (!values.empty()) {
        std::memcpy(item->values, values.data(), values.size() * sizeof(ToldValue));
    }
    return item;
}

static OPCHDAITEM* answer(const ToldScript& script, const OPCHDAITEMDEF& item, const timeval& start,
                          const timeval& end, unsigned count) {
    const auto found = script.values.find({item.plotter, item.pen});
    if (found == script.values.end()) return makeAnswer({});
    if (script.whole) return makeAnswer(found->second);
    std::vector<ToldValue> values;
    for (const ToldValue& value : found->second) {
        if (values.size() >= count) break;
        if (within(value, start, end)) values.push_back(value);
    }
    return makeAnswer(values);
}

int IHDA_SyncRead::ReadRaw(timeval* start, timeval* end, unsigned count, bool bounds,
                           unsigned itemCount, OPCHDAITEMDEF* items, OPCHDAITEM** results,
                           int** errors) {
    log("ReadRaw %lld.%06ld %lld.%06ld %u %d %u %u/%u", static_cast<long long>(start->tv_sec),
        static_cast<long>(start->tv_usec), static_cast<long long>(end->tv_sec),
        static_cast<long>(end->tv_usec), count, bounds ? 1 : 0, itemCount, items->plotter,
        items->pen);
    const ToldScript& script = toldScript();
    if (script.delayMicros != 0) (void)usleep(script.delayMicros);
    if (script.missing) return script.status;

    *results = answer(script, *items, *start, *end, count);
    (*results)->count = script.claim.value_or((*results)->count);
    *errors = new int[itemCount]();
    return script.status;
}

// ---- Configuration -----------------------------------------------------------------------------

template <class Record, class Field>
static void put(Record& record, std::size_t offset, Field field) {
    std::memcpy(record.bytes.data() + offset, &field, sizeof(field));
}

IHDA_BrowseConfig::IHDA_BrowseConfig() {
    log("BrowseConfig");
}

IHDA_BrowseConfig::~IHDA_BrowseConfig() {
    log("~BrowseConfig");
}

int IHDA_BrowseConfig::GetConfigAll(bool flag, jxo::CTrendsControlSettingsExt** settings) {
    log("GetConfigAll %d", flag ? 1 : 0);
    const auto& plotters = toldScript().plotters;
    if (!plotters) return -1;
    put(all_, 40, *plotters);
    *settings = &all_;
    return 0;
}

int IHDA_BrowseConfig::GetConfigPlotters(unsigned itemCount, OPCHDAITEMDEF* items, bool flag,
                                         jxo::CPlotterSettingsExt** settings, int** errors) {
    log("GetConfigPlotters %u %u/%u %d", itemCount, items->plotter, items->pen, flag ? 1 : 0);
    const auto& plotters = toldScript().pensOfPlotter;
    const auto found = plotters.find(items->plotter);
    if (found == plotters.end()) return -1;
    put(plotter_, 112, found->second);
    *settings = &plotter_;
    *errors = &error_;
    return 0;
}

int IHDA_BrowseConfig::GetConfigPens(unsigned itemCount, OPCHDAITEMDEF* items,
                                     jxo::CPenSettingsExt** settings, int** errors) {
    log("GetConfigPens %u %u/%u", itemCount, items->plotter, items->pen);
    const auto& pens = toldScript().pens;
    const auto found = pens.find({items->plotter, items->pen});
    if (found == pens.end()) return -1;
    put(pen_, 10, found->second.type);
    put(pen_, 16, found->second.kind);
    put(pen_, 20, found->second.number);
    *settings = &pen_;
    *errors = &error_;
    return 0;
}
