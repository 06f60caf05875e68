#include "server/connections/SendQueue.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

std::optional<std::size_t> sendWithoutWaiting(int socket, ByteView bytes) noexcept {
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t taken =
            send(socket, bytes.data() + sent, bytes.size() - sent, MSG_DONTWAIT | MSG_NOSIGNAL);
        if (taken > 0) {
            sent += static_cast<std::size_t>(taken);
        } else if (taken == 0 || errno == EAGAIN || errno == EWOULDBLOCK || errno == ENOBUFS) {
            break;
        } else if (errno != EINTR) {
            return std::nullopt;
        }
    }
    return sent;
}

void SendQueue::append(ByteView bytes) {
    std::deque<std::vector<std::uint8_t>> added;
    const std::size_t room =
        blocks_.empty() ? 0 : std::min(kBlockSize - blocks_.back().size(), bytes.size());
    for (ByteView rest = bytes.subspan(room); !rest.empty();) {
        const ByteView part = rest.first(std::min(kBlockSize, rest.size()));
        added.emplace_back().reserve(kBlockSize);
        added.back().assign(part.begin(), part.end());
        rest = rest.subspan(part.size());
    }
    const std::size_t before = blocks_.size();
    blocks_.resize(before + added.size());
    // Nothing below allocates: every block has room for kBlockSize bytes.
    if (room > 0) {
        const ByteView part = bytes.first(room);
        blocks_[before - 1].insert(blocks_[before - 1].end(), part.begin(), part.end());
    }
    std::move(added.begin(), added.end(), blocks_.begin() + static_cast<std::ptrdiff_t>(before));
    size_ += bytes.size();
}

std::optional<std::size_t> SendQueue::sendTo(int socket, std::size_t most) {
    std::size_t sent = 0;
    while (!empty() && sent < most) {
        const ByteView front = ByteView(blocks_.front()).subspan(sentOfFront_);
        const ByteView part = front.first(std::min(front.size(), most - sent));
        const std::optional<std::size_t> taken = sendWithoutWaiting(socket, part);
        if (!taken) return std::nullopt;
        removeFront(*taken);
        sent += *taken;
        if (*taken < part.size()) break;
    }
    return sent;
}

void SendQueue::removeFront(std::size_t count) {
    size_ -= count;
    sentOfFront_ += count;
    if (sentOfFront_ < blocks_.front().size()) return;
    blocks_.pop_front();
    sentOfFront_ = 0;
}

void SendQueue::clear() {
    blocks_.clear();
    blocks_.shrink_to_fit();
    sentOfFront_ = 0;
    size_ = 0;
}
