// What the stand-in's trend archive writes to a controller's flash memory, and how long reads take:
// the sample's pens of the simulated boiler house, with a cycle every 100 ms and a commit every
// second as in zrtsim, but without waiting in between.
#include <sys/time.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

#include "jxotr/IHDA_SyncRead.h"
#include "platform/trends/standin/archive_writer.h"
#include "platform/trends/standin/places.h"
#include "sim/memory/database_arrays.h"
#include "sim/plant/plant.h"
#include "sim/settings/samples.h"
#include "sim/trends/pen_sampler.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::int64_t kFirstSecond = 1'767'225'600;  // 2026-01-01
constexpr int kSecondsPerHour = 3600;
constexpr int kSecondsPerDay = 86'400;

/// An installation folder of its own, removed at the end.
class Folder {
  public:
    explicit Folder(const std::string& parent) {
        std::string pattern = parent + "/trend_archive.XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no folder in " + parent);
        path = pattern;
        std::filesystem::create_directories(path / "trends");
        setenv("VESKPATH", path.c_str(), 1);
    }
    ~Folder() {
        std::error_code ignored;  // a leftover does no harm
        std::filesystem::remove_all(path, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::filesystem::path path;
};

/// A line of /proc/self/io.
std::int64_t ioCounter(const std::string& name) {
    std::ifstream file("/proc/self/io");
    std::int64_t value = 0;
    for (std::string word; file >> word >> value;) {
        if (word == name + ":") return value;
    }
    throw std::runtime_error("the kernel does not count " + name);
}

struct Written {
    std::int64_t toFiles;   // bytes in calls of write
    std::int64_t toDevice;  // bytes of pages that became dirty; 0 in a file system in memory

    static Written now() { return {ioCounter("wchar"), ioCounter("write_bytes")}; }
};

/// Runs the house through these hours and records it.
void record(const trends::Definitions& definitions, int hours) {
    constexpr int kCyclesPerSecond = 10;
    const sim::DatabaseArrays house({80, 12, 24, 60, 24, 10, 10, 10, 20, 20, 20});
    sim::Plant plant(house.memory, 1, {kFirstSecond, 0});
    sim::PenSampler sampler(house.memory, definitions);
    trends::ArchiveWriter archive(trends::archiveFile(), definitions);
    std::vector<sim::PenValue> values;
    for (int second = 0; second < hours * kSecondsPerHour; ++second) {
        for (int cycle = 0; cycle < kCyclesPerSecond; ++cycle) {
            const timeval now{kFirstSecond + second, cycle * (1'000'000 / kCyclesPerSecond)};
            plant.cycle(now, 1.0F / kCyclesPerSecond);
            sampler.sample(now, values);
        }
        for (const auto& value : values)
            archive.add(value.pen, value.sample);
        archive.commit();
        values.clear();
        if (isatty(STDERR_FILENO) == 1 && second % kSecondsPerHour == 0) {
            std::fprintf(stderr, "\rhour %d of %d ", second / kSecondsPerHour + 1, hours);
        }
    }
}

/// @return the number of values
std::size_t readOnce(OPCHDAITEMDEF pen, timeval start, unsigned limit) {
    timeval end{std::numeric_limits<std::int32_t>::max(), 0};
    OPCHDAITEM* item = nullptr;
    HRESULT* errors = nullptr;
    IHDA_SyncRead reader;
    if (reader.ReadRaw(&start, &end, limit, false, 1, &pen, &item, &errors) != 0) {
        throw std::runtime_error("the archive cannot be read");
    }
    const std::size_t count = item->count;
    delete[] item->values;
    delete item;
    delete[] errors;
    return count;
}

/// Prints the median over the pens of plotter 1, each read several times.
void measureRead(const char* name, std::int64_t startSecond, unsigned limit) {
    constexpr unsigned kPens = 8;
    constexpr int kRounds = 25;
    std::vector<double> microseconds;
    std::size_t values = 0;
    for (int round = 0; round < kRounds; ++round) {
        for (unsigned pen = 1; pen <= kPens; ++pen) {
            const auto begin = Clock::now();
            values = std::max(values, readOnce({1, pen}, {startSecond, 0}, limit));
            const std::chrono::duration<double, std::micro> took = Clock::now() - begin;
            microseconds.push_back(took.count());
        }
    }
    const auto middle = microseconds.begin() + kPens * kRounds / 2;
    std::nth_element(microseconds.begin(), middle, microseconds.end());
    std::printf("read %-24s %8.1f us, up to %zu values\n", name, *middle, values);
}

/// @return megabytes a day
double printWritten(const char* name, std::int64_t bytes, int hours) {
    const double aSecond = static_cast<double>(bytes) / (hours * kSecondsPerHour);
    const double megabytesADay = aSecond * kSecondsPerDay / 1e6;
    std::printf("%-29s %8.2f KB/s, %.0f MB a day\n", name, aSecond / 1000, megabytesADay);
    return megabytesADay;
}

int measure(const std::string& parent, int hours, double bound) {
    const Folder folder(parent);
    std::string problem;
    const auto definitions = trends::parseDefinitions(sim::trendsIni(), problem);
    const Written before = Written::now();
    record(definitions, hours);
    const Written after = Written::now();
    if (isatty(STDERR_FILENO) == 1) std::fputs("\r", stderr);

    std::printf("%d plotters, %d h of plant time\n", static_cast<int>(definitions.plotters.size()),
                hours);
    const double daily = printWritten("written to files", after.toFiles - before.toFiles, hours);
    printWritten("written to the device", after.toDevice - before.toDevice, hours);
    printWritten("kept",
                 static_cast<std::int64_t>(std::filesystem::file_size(trends::archiveFile())),
                 hours);
    const std::int64_t end = kFirstSecond + hours * kSecondsPerHour;
    measureRead("from the middle, 1000", kFirstSecond + hours * kSecondsPerHour / 2, 1000);
    measureRead("of the last minute", end - 60, 1000);
    measureRead("of the last 15 minutes, 1000", end - 900, 1000);
    measureRead("of all", 0, std::numeric_limits<unsigned>::max());
    if (daily <= bound) return 0;
    std::printf("more than %.0f MB a day\n", bound);
    return 1;
}

int run(int argc, const char* const* argv) {
    CLI::App app("Measures what the trend archive writes and keeps, and how long reads take.");
    int hours = 6;
    double bound = 1000;
    std::string folder = std::filesystem::current_path();
    app.add_option("--hours", hours, "plant time to record")->check(CLI::Range(1, 24 * 35));
    app.add_option("--bound", bound, "MB a day above which the exit status is 1");
    app.add_option("--folder", folder, "folder for the temporary archive")
        ->check(CLI::ExistingDirectory);
    CLI11_PARSE(app, argc, argv);
    return measure(folder, hours, bound);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "bench_trend_archive: %s\n", error.what());
        return 2;
    }
}
