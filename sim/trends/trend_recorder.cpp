#include "sim/trends/trend_recorder.h"

#include <pthread.h>

#include <cmath>
#include <csignal>
#include <utility>

namespace sim {

namespace {

constexpr std::int64_t kMicrosecondsPerSecond = 1'000'000;

std::int64_t microsecondsOf(timeval time) {
    return time.tv_sec * kMicrosecondsPerSecond + time.tv_usec;
}

/// Signals must reach the main thread, because they interrupt its waiting.
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

TrendRecorder::TrendRecorder(std::filesystem::path archive, const trends::Definitions& definitions,
                             const DatabaseMemory& memory, std::chrono::seconds keep)
    : archive_(std::move(archive)),
      definitions_(definitions),
      keep_(keep),
      sampler_(memory, definitions),
      writer_(std::make_unique<trends::ArchiveWriter>(archive_.string(), definitions)) {}

TrendRecorder::~TrendRecorder() {
    close();
}

void TrendRecorder::recordPast(timeval time) {
    sampler_.sample(time, collected_);
    for (const PenValue& value : collected_) {
        writer_->add(value.pen, value.sample);
    }
    collected_.clear();
}

void TrendRecorder::commit() {
    writer_->commit();
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

void TrendRecorder::close() {
    if (!thread_.joinable()) return;
    handOver();
    {
        const std::lock_guard lock(mutex_);
        closing_ = true;
    }
    changed_.notify_one();
    thread_.join();
}

std::string TrendRecorder::takeMessages() {
    const std::lock_guard lock(mutex_);
    return std::exchange(messages_, {});
}

void TrendRecorder::handOver() {
    {
        const std::lock_guard lock(mutex_);
        waiting_.insert(waiting_.end(), collected_.begin(), collected_.end());
        dropTooMany();  // here too: the thread may hang in a call of the file system
    }
    collected_.clear();
    changed_.notify_one();
}

// ---- the thread --------------------------------------------------------------------------------

void TrendRecorder::writeUntilClosed() {
    for (bool closing = false; !closing;) {
        closing = waitForWork();
        tryToWrite();
    }
    closeArchive();
    if (!failingSince_) return;
    const std::lock_guard lock(mutex_);
    say("Архив трендов до конца не записан, потеряно значений: " +
        std::to_string(lost_ + waiting_.size()));
}

/// Waits for values, or after a failure for the time of the next try.
/// @return whether the recorder must end
bool TrendRecorder::waitForWork() {
    std::unique_lock lock(mutex_);
    if (failingSince_) {
        changed_.wait_for(lock, kRetryAfter, [this] { return closing_; });
    } else {
        changed_.wait(lock, [this] { return closing_ || !waiting_.empty(); });
    }
    std::swap(writing_, waiting_);
    return closing_;
}

/// After a failure the archive keeps what was committed, and the other values wait again.
void TrendRecorder::tryToWrite() {
    try {
        if (writer_ == nullptr) {
            writer_ = std::make_unique<trends::ArchiveWriter>(archive_.string(), definitions_);
        }
        write();
        noteSuccess();
    } catch (const std::exception& error) {
        writer_.reset();
        noteFailure(error.what());
    }
    writing_.clear();
}

/// If this fails, the values stay in SQLite's log beside the archive, and nothing is lost.
void TrendRecorder::closeArchive() {
    try {
        if (writer_ != nullptr) writer_->finish();
    } catch (const std::exception&) {
    }
    writer_.reset();
}

void TrendRecorder::write() {
    constexpr auto kCleanEvery = std::chrono::minutes(45);  // a chunk is a quarter of an hour long
    for (const PenValue& value : writing_) {
        writer_->add(value.pen, value.sample);
    }
    const auto now = Clock::now();  // never set, unlike the clock of the values
    const bool cleans = !cleanedAt_ || now - *cleanedAt_ >= kCleanEvery;
    if (cleans) writer_->keepRecorded(keep_.count());
    writer_->commit();
    if (cleans) cleanedAt_ = now;
}

void TrendRecorder::noteFailure(const char* error) {
    const std::lock_guard lock(mutex_);
    waiting_.insert(waiting_.begin(), writing_.begin(), writing_.end());
    dropTooMany();
    if (failingSince_) return;
    failingSince_ = Clock::now();
    say(std::string("Архив трендов не записывается: ") + error +
        ". Значения ждут в памяти, не более " + std::to_string(kMostWaiting) +
        "; новая попытка каждые " + std::to_string(kRetryAfter.count()) + " с.");
}

void TrendRecorder::noteSuccess() {
    const std::lock_guard lock(mutex_);
    if (!failingSince_ && lost_ == 0) return;
    const std::string lost = "потеряно значений: " + std::to_string(std::exchange(lost_, 0));
    if (failingSince_) {
        const std::chrono::duration<double> pause = Clock::now() - *failingSince_;
        say("Архив трендов снова записывается, перерыв " +
            std::to_string(std::lround(pause.count())) + " с, " + lost);
        failingSince_.reset();
    } else {
        say("Архив трендов записывается слишком медленно, " + lost);
    }
}

/// Drops the oldest values beyond the bound.
void TrendRecorder::dropTooMany() {
    if (waiting_.size() <= kMostWaiting) return;
    const std::size_t tooMany = waiting_.size() - kMostWaiting;
    waiting_.erase(waiting_.begin(), waiting_.begin() + static_cast<std::ptrdiff_t>(tooMany));
    lost_ += tooMany;
}

void TrendRecorder::say(const std::string& line) {
    messages_ += line + "\n";
}

}  // namespace sim
