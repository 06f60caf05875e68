#include "trends/trend_recorder.h"

#include <pthread.h>

#include <csignal>
#include <utility>

namespace sim {

namespace {

constexpr std::int64_t kMicrosecondsPerSecond = 1'000'000;
constexpr std::int64_t kMicrosecondsPerHour = 3600 * kMicrosecondsPerSecond;

std::int64_t microsecondsOf(timeval time) {
    return time.tv_sec * kMicrosecondsPerSecond + time.tv_usec;
}

/// Signals are for the main thread, whose waiting they interrupt.
std::thread startedWithoutSignals(auto body) {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    std::thread thread(std::move(body));
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return thread;
}

}  // namespace

TrendRecorder::TrendRecorder(const std::filesystem::path& archive,
                             const trends::Definitions& definitions, const DatabaseMemory& memory,
                             std::chrono::seconds keep)
    : sampler_(memory, definitions),
      keep_(std::chrono::microseconds(keep).count()),
      writer_(archive.string(), definitions) {}

TrendRecorder::~TrendRecorder() {
    if (!thread_.joinable()) return;
    handOver();
    {
        const std::lock_guard lock(mutex_);
        closing_ = true;
    }
    changed_.notify_one();
    thread_.join();
}

void TrendRecorder::recordPast(timeval time) {
    sampler_.sample(time, collected_);
    for (const PenValue& value : collected_) {
        writer_.add(value.pen, value.sample);
    }
    collected_.clear();
}

void TrendRecorder::commit() {
    writer_.commit();
}

void TrendRecorder::start() {
    thread_ = startedWithoutSignals([this] { writeUntilClosed(); });
}

void TrendRecorder::record(timeval now) {
    sampler_.sample(now, collected_);
    const std::int64_t time = microsecondsOf(now);
    const bool isDue = time - handedOverAt_ >= kMicrosecondsPerSecond || time < handedOverAt_;
    if (!isDue) return;
    handedOverAt_ = time;
    handOver();
}

std::string TrendRecorder::takeProblem() {
    const std::lock_guard lock(mutex_);
    return std::exchange(problem_, {});
}

void TrendRecorder::handOver() {
    {
        const std::lock_guard lock(mutex_);
        toWrite_.insert(toWrite_.end(), collected_.begin(), collected_.end());
    }
    collected_.clear();
    changed_.notify_one();
}

// ---- the thread --------------------------------------------------------------------------------

/// A failure ends the recording: the archive keeps what was committed, and the controller goes on.
void TrendRecorder::writeUntilClosed() try {
    std::vector<PenValue> values;
    for (bool closing = false; !closing;) {
        {
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [this] { return closing_ || !toWrite_.empty(); });
            values.clear();
            std::swap(values, toWrite_);
            closing = closing_;
        }
        write(values);
    }
    writer_.finish();
} catch (const std::exception& error) {
    const std::lock_guard lock(mutex_);
    problem_ = error.what();
}

void TrendRecorder::write(const std::vector<PenValue>& values) {
    if (values.empty()) return;
    for (const PenValue& value : values) {
        writer_.add(value.pen, value.sample);
    }
    removeOld(values.back().sample.time);
    writer_.commit();
}

void TrendRecorder::removeOld(std::int64_t newest) {
    if (newest - cleanedAt_ < kMicrosecondsPerHour) return;
    cleanedAt_ = newest;
    writer_.removeBefore(newest - keep_);
}

}  // namespace sim
