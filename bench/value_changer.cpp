// Changes float attributes of analog inputs in a controller's database, like a plant in which
// everything moves. The database was made by zrtsim --frozen. Started by bench/run, bench/instructions
// and bench/web.
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <fstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <CLI/CLI.hpp>

#include "lib/util/shmem.h"
#include "sim/layout/field_table.h"
#include "sim/layout/little_endian.h"
#include "sim/layout/types.h"

namespace {

volatile std::sig_atomic_t stopAsked = 0;

struct Options {
    std::size_t tags = 1000;
    std::size_t every = 1;
    int periodMs = 200;
    std::vector<std::uint16_t> attributes;
    std::string log;
};

/// The array of a type, attached as long as this lives.
class Array {
  public:
    Array(const sim::ArrayLayout& layout, std::size_t elements)
        : elementSize_(layout.elementSize),
          address_(ShmOpen(layout.ipcIndex, elements * layout.elementSize, 0, nullptr, 0)) {
        if (!address_) throw std::runtime_error("there is no controller with so many tags");
    }
    std::byte* element(std::size_t index) const {
        return static_cast<std::byte*>(address_.get()) + index * elementSize_;
    }

  private:
    std::size_t elementSize_;
    ShmPtr address_;
};

// Offsets in the passport of the numbered attributes; all must be floats.
std::vector<std::size_t> offsetsOf(const std::vector<std::uint16_t>& numbers) {
    const auto known = sim::attributesOf(sim::TypeCode::VA);
    std::vector<std::size_t> offsets;
    for (const std::uint16_t number : numbers) {
        if (number == 0 || number > known.size() ||
            known[number - 1U].storage != sim::Storage::real) {
            throw std::runtime_error("attribute " + std::to_string(number) + " is not a float");
        }
        offsets.push_back(known[number - 1U].offset);
    }
    return offsets;
}

std::int64_t microsecondsSince1970() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::microseconds>(now).count();
}

void changeUntilStopped(const Options& options) {
    const auto& layout = sim::layoutOf(sim::TypeCode::VA);
    const Array passports(layout.passport, options.tags);
    const Array values(layout.value, options.tags);  // the current value, published as VA 29
    const auto offsets = offsetsOf(options.attributes);
    std::ofstream log(options.log);  // without a name it is not open, and what is written is lost
    std::puts("ready");
    (void)std::fflush(stdout);
    auto next = std::chrono::steady_clock::now();
    for (float value = 1; stopAsked == 0; value = value < 1e6F ? value + 1 : 1) {
        log << static_cast<int>(value) << ' ' << microsecondsSince1970() << std::endl;
        for (std::size_t tag = 0; tag < options.tags; tag += options.every) {
            sim::store(values.element(tag), value);
            for (const std::size_t offset : offsets)
                sim::store(passports.element(tag) + offset, value);
        }
        next += std::chrono::milliseconds(options.periodMs);
        std::this_thread::sleep_until(next);
    }
}

int run(int argc, char** argv) {
    Options options;
    CLI::App app{"Changes attributes of the analog inputs until SIGINT; prints \"ready\"."};
    app.add_option("--tags", options.tags, "analog inputs, from the first")->capture_default_str();
    app.add_option("--every", options.every, "every n-th of them")
        ->capture_default_str()
        ->check(CLI::PositiveNumber);
    app.add_option("--period", options.periodMs, "ms between changes")
        ->capture_default_str()
        ->check(CLI::PositiveNumber);
    app.add_option("--attributes", options.attributes, "attribute numbers; they must be floats")
        ->required();
    app.add_option(
        "--log", options.log,
        "file that gets a line for each change: the value, and us since 1970 just before");
    CLI11_PARSE(app, argc, argv);
    for (const int signal : {SIGINT, SIGTERM})
        (void)std::signal(signal, [](int) { stopAsked = 1; });
    changeUntilStopped(options);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "bench_value_changer: %s\n", error.what());
        return 1;
    }
}
