#include "sim/simulator.h"

#include <sys/time.h>

#include <algorithm>
#include <iomanip>
#include <ostream>
#include <thread>
#include <utility>

#include "server/bounds/ConfigBounds.h"
#include "sim/failure.h"
#include "sim/layout/attribute_files.h"
#include "sim/settings/samples.h"
#include "sim/trends/past.h"
#include "sim/type_query.h"

namespace sim {

namespace {

constexpr int kDefaultCycleMs = 100;
constexpr int kDefaultController = 1;
constexpr auto kKeepTrends = std::chrono::hours(35 * 24);
constexpr auto kStatsEvery = std::chrono::seconds(5);

timeval wallClock() {
    timeval now{};
    static_cast<void>(gettimeofday(&now, nullptr));
    return now;
}

unsigned long tagsIn(const Counts& counts) {
    unsigned long tags = 0;
    for (std::size_t i = 0; i < kMainTypeCount; ++i) {
        tags += counts[i];
    }
    return tags;
}

}  // namespace

Simulator::Simulator(Options options, std::ostream& out, const volatile std::sig_atomic_t& stop)
    : options_(std::move(options)), out_(out), stop_(stop) {}

void Simulator::run() {
    const auto begin = Clock::now();
    readConfig();
    if (!options_.cycleLog.empty()) stats_.logTo(options_.cycleLog);
    Site site(controllerFolders(), out_);
    site.enter(options_.fresh);
    out_ << "Каталог контроллера " << site.folders().root.string() << "\n";
    site.makeFoldersAndKeyFiles();
    placeFiles(site);
    readCycleTime(site);

    ControllerIpc ipc(site.record(), options_.generation);
    const DatabaseMemory memory = ipc.makeDatabase(options_.counts);
    Plant plant(memory, options_.seed, wallClock());
    EventJournal journal(site, ipc, memory, out_);
    const auto trends = makeRecorder(site, memory);
    startTrends(*trends, plant, site.folders());
    if (stop_ != 0) return;  // requested while the past was made
    ipc.announce();
    const std::chrono::duration<double> took = Clock::now() - begin;
    out_ << "База данных: " << tagsIn(options_.counts) << " тегов, котельных " << plant.houses()
         << ", цикл " << cycle_.count() << " мс" << (options_.frozen ? ", установка стоит" : "")
         << "; запуск занял " << std::fixed << std::setprecision(2) << took.count() << " с\n"
         << "zrtsim: ready" << std::endl;

    cycleUntilStopped(ipc, plant, *trends, journal);
    trends->close();
    out_ << trends->takeMessages();
    if (options_.stats) stats_.print(out_);
    out_ << "Остановка: удаляю созданное.\n";
}

// ---- files -------------------------------------------------------------------------------------

/// Called before anything is made or removed, so that a misspelled name changes nothing.
void Simulator::readConfig() {
    if (options_.config.empty()) return;
    config_ = readFile(options_.config);
    if (!config_) throw Failure(ExitCode::usage, "не читается файл " + options_.config);
}

void Simulator::placeFiles(Site& site) {
    const Folders& folders = site.folders();
    site.makeFile(folders.offsetFile(), offsetFile());
    site.makeFile(folders.kindFile(), kindFile());
    if (site.keepsEdited(folders.controllerIni())) {
        out_ << "Взят изменённый ранее файл " << folders.controllerIni().string() << "\n";
        if (options_.controllerNumber) {
            out_ << "Ключ --controller не действует: номер стоит в этом файле.\n";
        }
    } else {
        site.makeFile(folders.controllerIni(),
                      controllerIni(options_.controllerNumber.value_or(kDefaultController),
                                    options_.cycleMs.value_or(kDefaultCycleMs)));
    }
    placeServerIni(site);
    placeTrendsIni(site);
}

void Simulator::placeServerIni(Site& site) {
    const auto file = site.folders().serverIni();
    if (site.keepsEdited(file)) {
        if (config_) {
            throw Failure(ExitCode::foreign,
                          "файл " + file.string() +
                              " был изменён, и ключ --config его бы стёр. Уберите файл или "
                              "добавьте ключ --fresh.");
        }
        out_ << "Взят изменённый ранее файл " << file.string() << " (образец - с ключом --fresh)\n";
    } else if (config_) {
        site.makeFile(file, *config_);
        out_ << "Конфигурация сервера: " << options_.config << "\n";
    } else {
        site.makeFile(file, serverIni(options_.port.value_or(kFirstPort)));
        return;
    }
    if (options_.port) out_ << "Ключ --port не действует: порт стоит в этом файле.\n";
}

void Simulator::placeTrendsIni(Site& site) {
    const auto file = site.folders().trendsIni();
    if (!site.keepsEdited(file)) return site.makeFile(file, trendsIni());
    out_ << "Взят изменённый ранее файл " << file.string() << "\n";
}

void Simulator::readCycleTime(const Site& site) {
    const auto text = readFile(site.folders().controllerIni());
    const int fromFile = cycleTimeOf(text.value_or(std::string()), kDefaultCycleMs);
    cycle_ = std::chrono::milliseconds(options_.cycleMs.value_or(fromFile));
    if (cycle_.count() != fromFile) {
        out_ << "Цикл " << cycle_.count() << " мс взят из --cycle, в veskkntr.ini стоит "
             << fromFile << " мс.\n";
    }
}

// ---- trends ------------------------------------------------------------------------------------

std::unique_ptr<TrendRecorder> Simulator::makeRecorder(Site& site,
                                                       const DatabaseMemory& memory) try {
    const Folders& folders = site.folders();
    std::string problem;
    const auto definitions = trends::loadDefinitions(folders.trendsIni().string(), problem);
    if (!problem.empty()) {
        throw Failure(ExitCode::failed, "не понятен файл " + folders.trendsIni().string() + ": " +
                                            problem + " (образец - с ключом --fresh)");
    }
    for (const auto& file : folders.savedFiles) {
        site.adoptSavedFile(file);
    }
    const auto history = options_.history.value_or(std::chrono::seconds(0));
    const auto keep = options_.keep.value_or(std::max<std::chrono::seconds>(kKeepTrends, history));
    return std::make_unique<TrendRecorder>(folders.trendArchive(), definitions, memory, keep);
} catch (const trends::ArchiveError& error) {
    throw Failure(ExitCode::failed, "архив трендов " + site.folders().trendArchive().string() +
                                        " не открывается (" + error.what() +
                                        "). Уберите его или запустите с ключом --fresh.");
}

void Simulator::startTrends(TrendRecorder& trends, Plant& plant, const Folders& folders) try {
    if (options_.history) {
        Past past(trends, *options_.history, out_, stop_);
        past.announce(folders.trendArchive().parent_path(), wallClock());
        past.make(plant, wallClock);
    }
    trends.start();
} catch (const trends::ArchiveError& error) {
    throw Failure(ExitCode::failed, "история не записана в архив трендов " +
                                        folders.trendArchive().string() + " (" + error.what() +
                                        ")");
}

// ---- the cycle ---------------------------------------------------------------------------------

void Simulator::cycleUntilStopped(ControllerIpc& ipc, Plant& plant, TrendRecorder& trends,
                                  EventJournal& journal) {
    auto next = Clock::now() + cycle_;
    nextStats_ = Clock::now() + kStatsEvery;
    const std::chrono::duration<float> step = cycle_;
    while (stop_ == 0) {
        answerUntil(ipc.channel(), next);
        if (stop_ != 0) return;
        const auto begin = Clock::now();
        const timeval now = wallClock();
        if (!options_.frozen) plant.cycle(now, step.count());
        trends.record(now);
        journal.follow(begin);
        const auto end = Clock::now();
        stats_.add(next, end - begin, begin - next);
        next += cycle_;
        while (next < end) {  // a controller skips cycles that it has no time for
            next += cycle_;
            stats_.addSkipped();
        }
        if (options_.stats) printStats(end);
        out_ << trends.takeMessages() << std::flush;
    }
}

/// Polls for requests often while they come one after another, as at a reader's start, and rarely
/// otherwise, so that waiting costs next to nothing.
void Simulator::answerUntil(vs_obj& channel, Clock::time_point next) {
    constexpr auto kBusy = std::chrono::milliseconds(50);
    constexpr auto kSoon = std::chrono::microseconds(200);
    constexpr auto kSeldom = std::chrono::milliseconds(5);
    while (stop_ == 0) {
        Request request{};
        const int sender = channel.Creceive(0, request.data(), request.size());
        const auto now = Clock::now();
        if (sender > 0) {
            constexpr char kKeepTimer = 1;
            Answer answer = answerTo(request, options_.counts);
            // A sender that has ended meanwhile needs no answer.
            static_cast<void>(channel.Reply(sender, answer.data(), answer.size(), kKeepTimer));
            lastRequest_ = now;
            continue;
        }
        if (now >= next) return;
        const Clock::duration pause =
            now - lastRequest_ < kBusy ? Clock::duration(kSoon) : Clock::duration(kSeldom);
        std::this_thread::sleep_for(std::min(pause, next - now));
    }
}

void Simulator::printStats(Clock::time_point now) {
    if (now < nextStats_) return;
    nextStats_ += kStatsEvery;
    stats_.print(out_);
}

}  // namespace sim
