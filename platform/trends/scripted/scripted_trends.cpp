#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iomanip>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

// The library's symbols, declared once more and from what is known of the real one alone: if the
// interface that the server is built with had another layout or other symbols, the tests would see
// it. The objects are of other sizes than the server takes them for, as the real ones may be.

struct ScriptedValue {
    std::uint16_t code;     //  0
    char reserved[6];       //  2
    char value[8];          //  8
    std::int64_t seconds;   // 16
    std::int64_t micros;    // 24
    std::uint32_t quality;  // 32
    std::uint32_t padding;  // 36
};
static_assert(sizeof(ScriptedValue) == 40);

struct OPCHDAITEMDEF {
    unsigned plotter, pen;
};

struct OPCHDAITEM {
    std::uint32_t count;
    ScriptedValue* values;
};

namespace jxo {
template <std::size_t Size>
struct Record {
    std::array<char, Size> bytes;

    template <class Field>
    void put(std::size_t offset, Field field) {
        std::memcpy(bytes.data() + offset, &field, sizeof field);
    }
};
struct CTrendsControlSettingsExt : Record<200> {};
struct CPlotterSettingsExt : Record<300> {};
struct CPenSettingsExt : Record<100> {};
}  // namespace jxo

#define EXPORTED __attribute__((visibility("default")))

class EXPORTED IHDA_SyncRead {
  public:
    virtual ~IHDA_SyncRead();
    IHDA_SyncRead();
    int ReadRaw(timeval* start, timeval* end, unsigned count, bool bounds, unsigned itemCount,
                OPCHDAITEMDEF* items, OPCHDAITEM** results, int** errors);

  private:
    std::string name_ = "a reader whose text is too long for the object itself";
};

class EXPORTED IHDA_BrowseConfig {
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

// ---- The script --------------------------------------------------------------------------------

namespace {

using Pen = std::pair<std::uint32_t, std::uint32_t>;  // plotter, pen

using Source = std::tuple<std::int16_t, std::int32_t, std::uint16_t>;  // type, kind, number

struct Script {
    std::optional<std::uint64_t> plotters;
    std::map<std::uint32_t, std::uint64_t> pensOfPlotter;
    std::map<Pen, Source> pens;
    std::map<Pen, std::vector<ScriptedValue>> values;
    bool whole = false, missing = false, fixed = false;
    int status = 0;
    std::optional<std::uint32_t> claim;
    unsigned delayMicros = 0;
};

Pen takePen(std::istream& line) {
    Pen pen;
    line >> pen.first >> pen.second;
    return pen;
}

void addValue(std::istream& line, Script& script) {
    ScriptedValue& value = script.values[takePen(line)].emplace_back();
    double number = 0;
    line >> value.code >> number >> value.seconds >> value.micros >> value.quality;
    const auto store = [&value](auto stored) { std::memcpy(value.value, &stored, sizeof stored); };
    if (value.code == 5) store(number);
    if (value.code == 11) store(static_cast<std::int16_t>(number));
    if (value.code != 5 && value.code != 11) store(static_cast<float>(number));
}

void addPen(std::istream& line, Script& script) {
    auto& [type, kind, number] = script.pens[takePen(line)];
    line >> type >> kind >> number;
}

void addPlotter(std::istream& line, Script& script) {
    const auto [plotter, pens] = takePen(line);
    script.pensOfPlotter[plotter] = pens;
}

/// What a line of the file may be. P is a plotter, K a pen.
// clang-format off
const std::map<std::string, void (*)(std::istream&, Script&)> kLines = {
    {"plotters", [](auto& line, Script& script) { line >> script.plotters.emplace(); }},  // COUNT
    {"plotter", addPlotter},  // P PENS: a plotter that exists, with so many pens
    {"pen", addPen},          // P K TYPE KIND NUMBER: a pen that exists, of this variable
    {"value", addValue},      // P K CODE VALUE SECONDS MICROS QUALITY: an archived value
    {"whole", [](auto&, Script& script) { script.whole = true; }},  // all values, whatever is asked
    {"status", [](auto& line, Script& script) { line >> script.status; }},  // STATUS of reads
    {"missing", [](auto&, Script& script) { script.missing = true; }},      // reads have no answer
    {"claim", [](auto& line, Script& script) { line >> script.claim.emplace(); }},  // COUNT of reads
    {"delay", [](auto& line, Script& script) { line >> script.delayMicros; }},  // MICROS of a read
    {"fixed", [](auto&, Script& script) { script.fixed = true; }},  // the file is not read again
};
// clang-format on

/// An unknown line ends the process: a test must not pass because of a slip.
Script readScript(const char* path) {
    Script script;
    std::ifstream file(path);
    for (std::string text; std::getline(file, text);) {
        std::istringstream line(text);
        std::string word;
        if (!(line >> word)) continue;
        const auto found = kLines.find(word);
        if (found != kLines.end()) found->second(line, script);
        if (found != kLines.end() && !line.fail()) continue;
        std::fprintf(stderr, "scripted trends: unknown line: %s\n", text.c_str());
        std::abort();
    }
    return script;
}

/// What SCRIPTED_TRENDS names, read again when the file has changed.
const Script& script() {
    static Script script;
    static struct stat before {};
    if (script.fixed) return script;
    const char* path = std::getenv("SCRIPTED_TRENDS");
    struct stat now {};
    if (path == nullptr || stat(path, &now) != 0) return script;
    const bool same = now.st_ino == before.st_ino && now.st_mtim.tv_sec == before.st_mtim.tv_sec &&
                      now.st_mtim.tv_nsec == before.st_mtim.tv_nsec;
    if (!same) script = readScript(path);
    before = now;
    return script;
}

std::ostream& operator<<(std::ostream& to, const timeval& time) {
    return to << time.tv_sec << '.' << std::setfill('0') << std::setw(6) << time.tv_usec;
}
std::ostream& operator<<(std::ostream& to, const OPCHDAITEMDEF& item) {
    return to << item.plotter << '/' << item.pen;
}

/// Appends a line to the file that SCRIPTED_TRENDS_LOG names; without it nothing is logged.
template <class... Parts>
void log(const Parts&... parts) {
    static const char* const path = std::getenv("SCRIPTED_TRENDS_LOG");
    if (path == nullptr) return;
    std::ofstream file(path, std::ios::app);
    (file << ... << parts) << '\n';
}

}  // namespace

// ---- Reading -----------------------------------------------------------------------------------

IHDA_SyncRead::IHDA_SyncRead() {
    log("SyncRead");
}

IHDA_SyncRead::~IHDA_SyncRead() {
    log("~SyncRead");
}

namespace {

bool within(const ScriptedValue& value, const timeval& start, const timeval& end) {
    const std::pair<std::int64_t, std::int64_t> time{value.seconds, value.micros};
    return std::pair{start.tv_sec, start.tv_usec} <= time &&
           time <= std::pair{end.tv_sec, end.tv_usec};
}

/// Holds until the next call.
const std::vector<ScriptedValue>& valuesOf(const Script& scenario, const OPCHDAITEMDEF& item,
                                           const timeval& start, const timeval& end,
                                           unsigned count) {
    static std::vector<ScriptedValue> values;
    values.clear();
    const auto found = scenario.values.find({item.plotter, item.pen});
    if (found == scenario.values.end()) return values;
    if (scenario.whole) return found->second;
    for (const ScriptedValue& value : found->second) {
        if (values.size() >= count) break;
        if (within(value, start, end)) values.push_back(value);
    }
    return values;
}

}  // namespace

int IHDA_SyncRead::ReadRaw(timeval* start, timeval* end, unsigned count, bool bounds,
                           unsigned itemCount, OPCHDAITEMDEF* items, OPCHDAITEM** results,
                           int** errors) {
    log("ReadRaw ", *start, ' ', *end, ' ', count, ' ', bounds, ' ', itemCount, ' ', *items);
    const Script& scenario = script();
    if (scenario.delayMicros != 0) (void)usleep(scenario.delayMicros);
    if (scenario.missing) return scenario.status;
    // The answer is the caller's; an empty one has an array too.
    const auto& values = valuesOf(scenario, *items, *start, *end, count);
    const auto size = static_cast<std::uint32_t>(values.size());
    *results = new OPCHDAITEM{scenario.claim.value_or(size), new ScriptedValue[size]};
    std::copy(values.begin(), values.end(), (*results)->values);
    *errors = new int[itemCount]();
    return scenario.status;
}

// ---- Configuration -----------------------------------------------------------------------------

IHDA_BrowseConfig::IHDA_BrowseConfig() {
    log("BrowseConfig");
}

IHDA_BrowseConfig::~IHDA_BrowseConfig() {
    log("~BrowseConfig");
}

int IHDA_BrowseConfig::GetConfigAll(bool flag, jxo::CTrendsControlSettingsExt** settings) {
    log("GetConfigAll ", flag);
    if (!script().plotters) return -1;
    all_.put(40, *script().plotters);
    *settings = &all_;
    return 0;
}

int IHDA_BrowseConfig::GetConfigPlotters(unsigned itemCount, OPCHDAITEMDEF* items, bool flag,
                                         jxo::CPlotterSettingsExt** settings, int** errors) {
    log("GetConfigPlotters ", itemCount, ' ', *items, ' ', flag);
    const auto found = script().pensOfPlotter.find(items->plotter);
    if (found == script().pensOfPlotter.end()) return -1;
    plotter_.put(112, found->second);
    *settings = &plotter_;
    *errors = &error_;
    return 0;
}

int IHDA_BrowseConfig::GetConfigPens(unsigned itemCount, OPCHDAITEMDEF* items,
                                     jxo::CPenSettingsExt** settings, int** errors) {
    log("GetConfigPens ", itemCount, ' ', *items);
    const auto found = script().pens.find({items->plotter, items->pen});
    if (found == script().pens.end()) return -1;
    const auto& [type, kind, number] = found->second;
    pen_.put(10, type);
    pen_.put(16, kind);
    pen_.put(20, number);
    *settings = &pen_;
    *errors = &error_;
    return 0;
}
