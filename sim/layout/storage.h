#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace sim {

/// Storage kinds of the attribute files.
enum class Storage : std::uint8_t { bit = 0, byte = 1, word = 2, real = 3, text = 6 };

struct StorageRow {
    Storage storage;
    std::size_t size;       // bytes of one element
    std::string_view name;  // in docs/attributes.md
};

/// The attribute files count these rows from 1 as their kinds of attributes. The order is specific
/// to this controller; readers use the storage of the kind. The first one is also used by the
/// entries with one value.
inline constexpr auto kStorages = std::to_array<StorageRow>({
    {Storage::real, 4, "float"},
    {Storage::byte, 1, "char"},
    {Storage::text, 9, "text"},  // the string of the HI string layout takes 17 bytes
    {Storage::bit, 1, "bit"},
    {Storage::word, 2, "int16"},
});

/// Index into kStorages.
constexpr std::size_t indexOf(Storage storage) {
    std::size_t index = 0;
    while (kStorages[index].storage != storage) {
        ++index;
    }
    return index;
}

constexpr std::size_t elementSize(Storage storage) {
    return kStorages[indexOf(storage)].size;
}

}  // namespace sim
