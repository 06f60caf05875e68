#include "lib/bd_vesk/attributes.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <optional>
#include <utility>

#include "lib/bd_vesk/typevars.h"

static_assert(std::endian::native == std::endian::little, "the files are read as they lie");

namespace {

/// A place in the contents of a file. Reading beyond the end fails and moves nothing.
class Cursor {
  public:
    explicit Cursor(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    template <class T>
    [[nodiscard]] bool get(T& value) {
        if (at_ > bytes_.size() || bytes_.size() - at_ < sizeof(T)) return false;
        std::memcpy(&value, bytes_.data() + at_, sizeof(T));
        at_ += sizeof(T);
        return true;
    }
    // Both may move beyond the end; the next get then fails.
    void seek(std::size_t position) { at_ = position; }
    void skip(std::size_t length) { at_ += length; }

  private:
    std::span<const std::uint8_t> bytes_;
    std::size_t at_ = 0;
};

constexpr auto kOffsets = AtrFault::File::offsets;
constexpr auto kTypes = AtrFault::File::types;

class Reader {
  public:
    Reader(std::span<const std::uint8_t> offsets, std::span<const std::uint8_t> types)
        : offsets_(offsets), types_(types) {}

    AtrFiles run() {
        const auto count = readEntryCount();
        if (!count) return std::move(files_);
        files_.entries.resize(static_cast<std::size_t>(*count));
        for (int i = 0; i < *count; ++i)
            if (!readEntry(i)) break;
        return std::move(files_);
    }

  private:
    bool fail(AtrFault::File file, int entry, int attribute, std::string text) {
        files_.faults.push_back({file, entry, attribute, std::move(text)});
        return false;
    }

    std::optional<int> readEntryCount() {
        std::int16_t inOffsets = 0;
        std::int16_t inTypes = 0;
        if (!offsets_.get(inOffsets)) return fail(kOffsets, -1, -1, kEnds), std::nullopt;
        if (!types_.get(inTypes)) return fail(kTypes, -1, -1, kEnds), std::nullopt;
        files_.sameEntries = inOffsets == inTypes;
        if (!files_.sameEntries) return std::nullopt;
        if (inOffsets < 0)
            return fail(kOffsets, -1, -1, std::to_string(inOffsets) + " entries"), std::nullopt;
        return inOffsets;
    }

    bool readEntry(int i) {
        const auto count = readAtrCount(i);
        if (!count) return false;
        ListAllVar entry;
        entry.Atr.resize(static_cast<std::size_t>(*count));
        entry.AtrType.resize(static_cast<std::size_t>(*count));
        for (int n = 1; n <= *count; ++n)
            if (!readAtr(i, n, entry)) return false;
        entry.Num = *count;
        files_.entries[static_cast<std::size_t>(i)] = std::move(entry);
        return true;
    }

    std::optional<std::int16_t> readAtrCount(int i) {
        std::uint32_t position = 0;
        std::int16_t inOffsets = 0;
        std::int16_t inTypes = 0;
        offsets_.seek(2 + 4 * static_cast<std::size_t>(i));
        if (!offsets_.get(position)) return fail(kOffsets, i, -1, kEnds), std::nullopt;
        offsets_.seek(std::size_t{position} + 2);
        if (!offsets_.get(inOffsets)) return fail(kOffsets, i, -1, kEnds), std::nullopt;
        if (!types_.get(inTypes)) return fail(kTypes, i, -1, kEnds), std::nullopt;
        if (inOffsets == inTypes && inOffsets >= 0) return inOffsets;
        fail(kTypes, i, -1,
             std::to_string(inTypes) + " attributes, " + std::to_string(inOffsets) +
                 " in the file of offsets");
        return std::nullopt;
    }

    bool readAtr(int i, int n, ListAllVar& entry) {
        const auto index = static_cast<std::size_t>(n - 1);
        std::uint16_t nameLength = 0;
        if (!offsets_.get(entry.Atr[index]) || !offsets_.get(nameLength))
            return fail(kOffsets, i, n, kEnds);
        offsets_.skip(nameLength);
        return types_.get(entry.AtrType[index]) || fail(kTypes, i, n, kEnds);
    }

    static constexpr const char* kEnds = "the file ends here";

    Cursor offsets_;
    Cursor types_;
    AtrFiles files_;
};

}  // namespace

AtrFiles readAtrFiles(std::span<const std::uint8_t> offsets, std::span<const std::uint8_t> types) {
    return Reader(offsets, types).run();
}

// ---- Attributes in their records ---------------------------------------------------------------

namespace {

// KEPT: this attribute of the manual inputs is a text of 17 bytes, although the files give it the
// storage kind of the 9-byte texts. Required by the interface.
constexpr int kLongTextOfHI = 12;

/// The storage kind of an attribute; null for one that no reader knows.
const StorageKind* storedAs(DB_TYPE type, int num, char storage) {
    static constexpr StorageKind kLongText{6, type_str17};
    const auto* const row =
        std::ranges::find(kStorageKinds, static_cast<std::uint8_t>(storage), &StorageKind::number);
    if (row == kStorageKinds.end()) return nullptr;
    const bool isLong = type == DB_HI && num == kLongTextOfHI && row->valueType == type_str9;
    return isLong ? &kLongText : row;
}

constexpr bool offsetsFitAByte() {
    for (const TableRow& row : kTables)
        if (row.passportSize > 256) return false;
    return true;
}
static_assert(offsetsFitAByte(), "AtrPlace::offset is one byte");

AtrPlace failedPlace(AtrFault* fault, AtrFault::File file, int num, std::string text) {
    if (fault != nullptr) *fault = {file, -1, num, std::move(text)};
    return {};
}

}  // namespace

AtrPlace placeOf(DB_TYPE type, const ListAllVar& entry, int num, std::size_t recordSize,
                 AtrFault* fault) {
    const DscAtr atr = entry.Atr[static_cast<std::size_t>(num - 1)];
    const int kind = atr.NumAtr;
    if (kind < 1 || kind > entry.Num)
        return failedPlace(fault, kOffsets, num, "kind " + std::to_string(kind));

    const StorageKind* const stored =
        storedAs(type, num, entry.AtrType[static_cast<std::size_t>(kind - 1)].TypeAtr);
    if (stored == nullptr) return {};
    const std::size_t size = valueSize(stored->valueType);
    const bool inside = atr.Offset >= 0 && size <= recordSize &&
                        static_cast<std::size_t>(atr.Offset) <= recordSize - size;
    if (!inside)
        return failedPlace(fault, kOffsets, num,
                           std::to_string(size) + " bytes at " + std::to_string(atr.Offset) +
                               " are not inside a record of " + std::to_string(recordSize));

    AtrPlace place{static_cast<std::uint8_t>(atr.Offset), 0, static_cast<std::uint8_t>(size),
                   static_cast<std::uint8_t>(stored->valueType)};
    if (!stored->isBit) return place;
    if (atr.NumBit < 0 || atr.NumBit > 7)
        return failedPlace(fault, kOffsets, num, "bit " + std::to_string(atr.NumBit));
    place.mask = static_cast<std::uint8_t>(1U << static_cast<unsigned>(atr.NumBit));
    return place;
}
