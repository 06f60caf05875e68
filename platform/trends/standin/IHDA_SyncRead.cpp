#include "jxotr/IHDA_SyncRead.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <mutex>
#include <new>
#include <vector>

#include "platform/trends/standin/archive_reader.h"
#include "platform/trends/standin/definitions.h"
#include "platform/trends/standin/places.h"
#include "platform/trends/standin/results.h"

namespace {

using trends::StoredValue;

constexpr std::int64_t kMicrosecondsPerSecond = 1'000'000;

/// The process's connection to the archive. Readers are constructed and destroyed for every read,
/// so the connection, which takes time to open, is kept here. It is reopened when the file was
/// replaced.
class SharedArchive {
  public:
    /// Throws ArchiveError.
    std::vector<StoredValue> read(const OPCHDAITEMDEF& item, std::int64_t start, std::int64_t end,
                                  std::size_t limit, bool& known) {
        const std::lock_guard lock(mutex_);
        try {
            open();
            const std::int64_t pen = trends::penKey(item.plotterNum, item.penNum);
            known = reader_->hasPen(pen);
            return known ? reader_->read(pen, start, end, limit) : std::vector<StoredValue>();
        } catch (const trends::ArchiveError&) {
            reader_.reset();  // the next read may find the archive repaired
            throw;
        }
    }

  private:
    void open() {
        const std::string file = trends::archiveFile();
        struct stat now {};
        if (::stat(file.c_str(), &now) != 0) throw trends::ArchiveError("missing");
        const bool same = now.st_ino == opened_.st_ino && now.st_dev == opened_.st_dev;
        if (reader_ != nullptr && same) return;
        reader_.reset();
        reader_ = std::make_unique<trends::ArchiveReader>(file);
        opened_ = now;
    }

    std::mutex mutex_;
    std::unique_ptr<trends::ArchiveReader> reader_;
    struct stat opened_ {};
};

SharedArchive& sharedArchive() {
    static SharedArchive archive;
    return archive;
}

/// Times far away are limited to what a count of microseconds can hold.
std::int64_t microsecondsOf(const timeval& time) {
    constexpr std::int64_t kMost = INT64_MAX / kMicrosecondsPerSecond - 1;
    const std::int64_t seconds = std::clamp<std::int64_t>(time.tv_sec, -kMost, kMost);
    return seconds * kMicrosecondsPerSecond + std::clamp<std::int64_t>(time.tv_usec, 0, 999'999);
}

OPCHDAITEMVALUE toInterface(const StoredValue& stored) {
    constexpr std::int16_t kTrue = -1;  // as in OLE
    OPCHDAITEMVALUE value{};
    value.vt = static_cast<std::uint16_t>(stored.valueType);
    switch (stored.valueType) {
        case jxo::kVtDouble:
            value.value.wide = stored.sample.value;
            break;
        case jxo::kVtBoolean:
            value.value.boolean = stored.sample.value != 0 ? kTrue : std::int16_t{0};
            break;
        default:
            value.value.number = static_cast<float>(stored.sample.value);
    }
    value.seconds = stored.sample.time / kMicrosecondsPerSecond;
    value.microseconds = stored.sample.time % kMicrosecondsPerSecond;
    value.quality = stored.sample.quality;
    return value;
}

void hand(const std::vector<StoredValue>& values, OPCHDAITEM** results, HRESULT** itemErrors) {
    auto item = std::make_unique<OPCHDAITEM>();
    auto array = std::make_unique<OPCHDAITEMVALUE[]>(values.size());
    std::transform(values.begin(), values.end(), array.get(), toInterface);
    if (itemErrors != nullptr) *itemErrors = new HRESULT[1]{trends::kOk};
    item->count = static_cast<std::uint32_t>(values.size());
    item->values = array.release();
    *results = item.release();
}

}  // namespace

IHDA_SyncRead::IHDA_SyncRead() = default;
IHDA_SyncRead::~IHDA_SyncRead() = default;

// One item per call, because callers free the results as those of one item; no values outside the
// range.
HRESULT IHDA_SyncRead::ReadRaw(timeval* start, timeval* end, unsigned int valueCount, bool bounds,
                               unsigned int itemCount, OPCHDAITEMDEF* items, OPCHDAITEM** results,
                               HRESULT** itemErrors) try {
    if (start == nullptr || end == nullptr || items == nullptr || results == nullptr) {
        return trends::kInvalidArgument;
    }
    if (itemCount != 1 || bounds) return trends::kNotImplemented;
    bool known = false;
    const auto values = sharedArchive().read(*items, microsecondsOf(*start), microsecondsOf(*end),
                                             valueCount, known);
    if (!known) return trends::kUnknownItem;
    hand(values, results, itemErrors);
    return trends::kOk;
} catch (const std::bad_alloc&) {
    return trends::kOutOfMemory;
} catch (const std::exception&) {
    return trends::kNoArchive;
}
