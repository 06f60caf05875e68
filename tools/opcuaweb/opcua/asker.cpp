#include "tools/opcuaweb/opcua/asker.h"

#include "tools/opcuaweb/basics/limits.h"

namespace tools::opcuaweb {

Asker::Asker(std::string url) : session_(std::move(url)) {
    session_.limitBrowse({kMostChildren + 1, kBrowseTime});  // one more shows that there are more
}

Asker::~Asker() {
    stop();
}

bool Asker::add(Job job) {
    const std::lock_guard lock(mutex_);
    if (stopping_ || jobs_.size() >= kMostJobs) return false;
    jobs_.push_back(std::move(job));
    added_ = true;
    changed_.notify_all();
    return true;
}

void Asker::start() {
    thread_ = std::thread([this] { run(); });
}

void Asker::stop() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
        changed_.notify_all();
    }
    if (thread_.joinable()) thread_.join();
}

void Asker::run() {
    while (!stopping_) {
        if (session_.connect() == UA_STATUSCODE_GOOD) work();
        giveUpAll();
        for (const Job& job : background_) {
            static_cast<void>(job(nullptr));
        }
        pause(kConnectEvery);
    }
    giveUpAll();
}

void Asker::work() {
    using namespace std::chrono_literals;
    while (!stopping_ && session_.isConnected()) {
        const bool busy = stepForeground();
        if (stepBackground() || busy) continue;
        // Keeps the channel alive, and notices when it is lost.
        if (UA_StatusCode_isBad(session_.idle(0ms))) return;
        pause(20ms);
    }
}

/// @return false if no job has anything to do
bool Asker::stepForeground() {
    std::size_t turns = 0;
    {
        const std::lock_guard lock(mutex_);
        turns = jobs_.size();
    }
    bool busy = false;
    for (; turns > 0 && !stopping_; --turns) {
        Job job;
        {
            const std::lock_guard lock(mutex_);
            job = std::move(jobs_.front());
            jobs_.pop_front();
        }
        const Step step = job(&session_);
        busy |= step != Step::later;
        if (step == Step::done) continue;
        const std::lock_guard lock(mutex_);
        jobs_.push_back(std::move(job));
    }
    return busy;
}

bool Asker::stepBackground() {
    bool busy = false;
    for (const Job& job : background_) {
        busy |= job(&session_) == Step::again;
    }
    return busy;
}

void Asker::giveUpAll() {
    std::deque<Job> jobs;
    {
        const std::lock_guard lock(mutex_);
        jobs.swap(jobs_);
    }
    for (const Job& job : jobs) {
        static_cast<void>(job(nullptr));
    }
}

void Asker::pause(std::chrono::milliseconds time) {
    std::unique_lock lock(mutex_);
    // Not for the jobs that were there before: these have nothing to do at the moment.
    changed_.wait_for(lock, time, [this] { return stopping_ || added_; });
    added_ = false;
}

}  // namespace tools::opcuaweb
