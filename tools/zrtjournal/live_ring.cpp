#include "tools/zrtjournal/live_ring.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <thread>

#include "lib/rolling2/rol_man.h"
#include "lib/util/shmem.h"

namespace tools::zrtjournal {

namespace {

bool isLater(timeval_32 a, timeval_32 b) {
    return a.tv_sec != b.tv_sec ? a.tv_sec > b.tv_sec : a.tv_usec > b.tv_usec;
}

/// The journal's segments, attached for reading.
class Ring {
  public:
    Ring()
        : settings_(ShmOpenReadOnly(kRolSettings)),
          records_(ShmOpenReadOnly(kRolRing)),
          held_(ShmOpenReadOnly(kRolMessageCounter)),
          last_(ShmOpenReadOnly(kRolLastIndex)) {
        for (const ShmView* view : {&settings_, &records_, &held_, &last_}) {
            if (!view->address && error_ == 0) error_ = view->error;
        }
        if (error_ != 0) return;
        // Segments of another size do not belong to the journal.
        const std::size_t slots = records_.size / sizeof(SRolMessage);
        const bool fit = settings_.size >= sizeof(SRolIniFileSettings) && slots > 0 &&
                         held_.size >= sizeof(std::uint16_t) && last_.size >= sizeof(std::uint16_t);
        if (!fit) {
            error_ = EINVAL;
            return;
        }
        SRolIniFileSettings settings;
        std::memcpy(&settings, settings_.address.get(), sizeof(settings));
        const std::size_t claimed = settings.NumMessagesInMemory;
        capacity_ = static_cast<unsigned>(claimed != 0 && claimed < slots ? claimed : slots);
    }

    int error() const { return error_; }
    int id() const { return records_.id; }
    unsigned capacity() const { return capacity_; }
    unsigned held() const { return std::min(wordAt(held_), capacity_); }
    unsigned newest() const { return wordAt(last_) % capacity_; }
    SRolMessage record(unsigned slot) const {
        SRolMessage message;
        const auto* records = static_cast<const char*>(records_.address.get());
        std::memcpy(&message, records + slot * sizeof(message), sizeof(message));
        return message;
    }

  private:
    /// Another process may change it: a single load each time, ordered before later reads.
    static unsigned wordAt(const ShmView& view) {
        return __atomic_load_n(static_cast<const std::uint16_t*>(view.address.get()),
                               __ATOMIC_ACQUIRE);
    }

    ShmView settings_;
    ShmView records_;
    ShmView held_;
    ShmView last_;
    int error_ = 0;
    unsigned capacity_ = 0;
};

/// A copy of the messages, oldest first, and what is needed to detect changes during the copy.
struct Snapshot {
    unsigned newest = 0;
    unsigned held = 0;
    std::vector<SRolMessage> messages;
};

Snapshot take(const Ring& ring) {
    Snapshot snapshot;
    snapshot.held = ring.held();
    snapshot.newest = ring.newest();
    std::atomic_thread_fence(std::memory_order_seq_cst);
    snapshot.messages.reserve(snapshot.held);
    for (unsigned age = snapshot.held; age-- > 0;) {
        snapshot.messages.push_back(
            ring.record(CRolManager::CycMinus(snapshot.newest, age, ring.capacity())));
    }
    std::atomic_thread_fence(std::memory_order_seq_cst);
    return snapshot;
}

/// The slot from which a message of the snapshot was copied.
unsigned slotOf(const Snapshot& snapshot, std::size_t index, const Ring& ring) {
    const auto age = static_cast<unsigned>(snapshot.messages.size() - 1 - index);
    return CRolManager::CycMinus(snapshot.newest, age, ring.capacity());
}

bool isChanged(const Snapshot& snapshot, std::size_t index, const Ring& ring) {
    const SRolMessage now = ring.record(slotOf(snapshot, index, ring));
    return std::memcmp(&now, &snapshot.messages[index], sizeof(now)) != 0;
}

/// A poster takes the oldest message out of the count before it fills the slot, and moves the index
/// afterwards: if neither changed, no copied message did. After a whole round both would have their
/// old values, but not the bytes.
bool isWhole(const Snapshot& snapshot, const Ring& ring) {
    // The count first: a poster moves the index before it counts its message.
    if (ring.held() != snapshot.held || ring.newest() != snapshot.newest) return false;
    // Compared once more: only a poster that is paused in the middle of a slot could be missed.
    for (std::size_t index = 0; index < snapshot.messages.size(); ++index) {
        if (isChanged(snapshot, index, ring)) return false;
    }
    return true;
}

/// For posters that never pause: drops messages that were filled while they were copied, and all
/// older ones. Only one slot is being filled at a time, so a slot that was half filled when it was
/// copied has other bytes by now, or is still the one after the newest.
void dropChanged(Snapshot& snapshot, const Ring& ring) {
    const unsigned beingFilled = (ring.newest() + 1) % ring.capacity();
    std::atomic_thread_fence(std::memory_order_seq_cst);
    auto& messages = snapshot.messages;
    std::size_t dropped = 0;
    for (std::size_t index = 0; index < messages.size(); ++index) {
        if (isChanged(snapshot, index, ring) || slotOf(snapshot, index, ring) == beingFilled) {
            dropped = index + 1;
        }
    }
    messages.erase(messages.begin(), messages.begin() + static_cast<std::ptrdiff_t>(dropped));
}

/// If the stamps do not rise, a poster went round between two slots: drops the messages before that
/// point.
void dropBeforeFall(std::vector<SRolMessage>& messages) {
    const auto fall =
        std::adjacent_find(messages.rbegin(), messages.rend(),
                           [](const SRolMessage& later, const SRolMessage& earlier) {
                               return !isLater(later.PseudoTimeStamp, earlier.PseudoTimeStamp);
                           });
    if (fall != messages.rend()) messages.erase(messages.begin(), fall.base() - 1);
}

}  // namespace

RingCopy copyRing() {
    const Ring ring;
    RingCopy copy;
    copy.error = ring.error();
    copy.id = ring.id();
    if (copy.error != 0) return copy;
    constexpr int kAttempts = 200;
    Snapshot snapshot = take(ring);
    for (int i = 0; i < kAttempts && !isWhole(snapshot, ring); ++i) {
        std::this_thread::yield();
        snapshot = take(ring);
    }
    if (!isWhole(snapshot, ring)) dropChanged(snapshot, ring);
    dropBeforeFall(snapshot.messages);
    copy.messages = std::move(snapshot.messages);
    return copy;
}

}  // namespace tools::zrtjournal
