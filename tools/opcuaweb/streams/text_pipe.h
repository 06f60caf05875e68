#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>

namespace tools::opcuaweb {

/// Text from the thread that makes it to the one that sends it, bounded by `kMostWaitingText`. Any thread.
class TextPipe {
  public:
    /// False: nothing may be put at the moment.
    [[nodiscard]] bool hasRoom() const;
    void put(const std::string& text);
    /// No more text will come.
    void end();

    /// Nobody reads any more.
    void close();
    [[nodiscard]] bool isClosed() const;

    /// Waits for text. @return everything that waits; empty after the end or when the time is over
    [[nodiscard]] std::string take(std::chrono::milliseconds time);
    /// Everything was taken and no more comes.
    [[nodiscard]] bool isOver() const;

  private:
    mutable std::mutex mutex_;  // guards all below
    std::condition_variable changed_;
    std::string text_;
    bool ended_ = false;
    bool closed_ = false;
};

}  // namespace tools::opcuaweb
