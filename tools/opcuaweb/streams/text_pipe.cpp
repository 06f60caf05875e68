#include "tools/opcuaweb/streams/text_pipe.h"

#include <utility>

#include "tools/opcuaweb/basics/limits.h"

namespace tools::opcuaweb {

bool TextPipe::hasRoom() const {
    const std::lock_guard lock(mutex_);
    return text_.size() < kMostWaitingText;
}

void TextPipe::put(const std::string& text) {
    const std::lock_guard lock(mutex_);
    text_ += text;
    changed_.notify_all();
}

void TextPipe::end() {
    const std::lock_guard lock(mutex_);
    ended_ = true;
    changed_.notify_all();
}

void TextPipe::close() {
    const std::lock_guard lock(mutex_);
    closed_ = true;
}

bool TextPipe::isClosed() const {
    const std::lock_guard lock(mutex_);
    return closed_;
}

std::string TextPipe::take(std::chrono::milliseconds time) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, time, [this] { return !text_.empty() || ended_; });
    return std::exchange(text_, {});
}

bool TextPipe::isOver() const {
    const std::lock_guard lock(mutex_);
    return ended_ && text_.empty();
}

}  // namespace tools::opcuaweb
