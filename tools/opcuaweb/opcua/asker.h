#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "tools/client/session.h"

namespace tools::opcuaweb {

/// The session that browses, reads, reads histories and writes: one thread, a queue of jobs. A long job
/// is done step by step, so that the others take turns.
class Asker {
  public:
    enum class Step {
        again,  ///< continue when the others have had their turns
        later,  ///< there is nothing to do at the moment
        done,
    };
    /// One step, on this object's thread. Without a session (null) the job gives up: it is not called
    /// again. A step takes some requests, no more.
    using Job = std::function<Step(Session*)>;

    explicit Asker(std::string url);
    ~Asker();
    Asker(const Asker&) = delete;
    Asker& operator=(const Asker&) = delete;

    /// @return false if too many jobs wait already
    [[nodiscard]] bool add(Job job);

    /// Lets `question` answer, and waits for it.
    /// @return nothing without a connection, after `time`, or if too many jobs wait
    template <class Answer>
    [[nodiscard]] std::optional<Answer> ask(std::function<Answer(Session&)> question,
                                            std::chrono::milliseconds time);

    /// A job that has a step between those of the others; it stays when it is done or gives up, and must be
    /// added before `start`.
    void addBackground(Job job) { background_.push_back(std::move(job)); }

    void start();
    /// Ends the thread; jobs that wait give up.
    void stop();

  private:
    void run();
    void work();
    bool stepForeground();
    bool stepBackground();
    void giveUpAll();
    void pause(std::chrono::milliseconds time);

    Session session_;              // this object's thread only
    std::vector<Job> background_;  // constant after `start`
    std::mutex mutex_;             // guards the three below
    std::deque<Job> jobs_;
    bool added_ = false;  // since the last pause
    std::condition_variable changed_;
    std::atomic<bool> stopping_ = false;
    std::thread thread_;
};

template <class Answer>
std::optional<Answer> Asker::ask(std::function<Answer(Session&)> question,
                                 std::chrono::milliseconds time) {
    const auto promise = std::make_shared<std::promise<std::optional<Answer>>>();
    auto answer = promise->get_future();
    // A question for whose answer nobody waits any more is not asked.
    const bool taken =
        add([waiting = std::weak_ptr(promise), question = std::move(question)](Session* session) {
            const auto asked = waiting.lock();
            if (asked == nullptr) return Step::done;
            asked->set_value(session == nullptr ? std::nullopt
                                                : std::optional<Answer>(question(*session)));
            return Step::done;
        });
    if (!taken || answer.wait_for(time) != std::future_status::ready) return std::nullopt;
    return answer.get();
}

}  // namespace tools::opcuaweb
