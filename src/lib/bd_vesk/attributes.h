#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

#include "lib/bd_vesk/bdvstype.h"
#include "lib/bd_vesk/layout.h"

// Attribute descriptions: which bytes of a passport record the numbered attributes of a type are.
//
// They come as two files, which hold the same entries in the same order (TableRow::fileEntry
// says which type an entry belongs to). All numbers are little-endian.
//   offatrs.dat   int16 entries; uint32 position of each entry, from byte 2 on; at an entry's
//                 position + 2: int16 attributes, then per attribute a DscAtr, uint16 length of its
//                 name and the name, which is not used here
//   atributs.dat  int16 entries; per entry int16 attributes and as many DscAtrType

#pragma pack(push, 1)

struct DscAtr {
    std::int16_t NumAtr;  // 0  kind: index from 1 into the entry's DscAtrType
    std::int16_t NumBit;  // 2  bit within the byte, for attributes of one bit
    std::int32_t Offset;  // 4  byte in the passport record
};

struct DscAtrType {
    std::int16_t NumAtr;  // 0
    char TypeAtr;         // 2  storage kind, see StorageKind
};

#pragma pack(pop)

VESK_SIZE(DscAtr, 8);
VESK_FIELD(DscAtr, NumBit, 2);
VESK_FIELD(DscAtr, Offset, 4);
VESK_SIZE(DscAtrType, 3);
VESK_FIELD(DscAtrType, TypeAtr, 2);
static_assert(std::is_trivially_copyable_v<DscAtr> && std::is_trivially_copyable_v<DscAtrType>);

/// One entry: the attributes of a database type, number n at index n - 1 of Atr.
struct ListAllVar {
    std::int16_t Num = 0;  ///< number of attributes; 0 for an entry that could not be read
    std::vector<DscAtr> Atr;
    std::vector<DscAtrType> AtrType;
};

/// How a passport field is stored. The numbers are those of the files, which also use others for
/// other programs.
struct StorageKind {
    std::uint8_t number;
    TYPE_VAL valueType;  // with which it is read, and whose size it has
    bool isBit = false;  // one of the byte's bits only
};
inline constexpr auto kStorageKinds = std::to_array<StorageKind>({
    {0, type_char, true},
    {1, type_char},
    {2, type_short},
    {3, type_float},
    {6, type_str9},
});

/// The location of an attribute and how it is read: a description checked against its record.
struct AtrPlace {
    std::uint8_t offset = 0;        // bytes; every record is shorter than 256
    std::uint8_t mask = 0;          // of its bit; 0: the attribute is not a bit
    std::uint8_t size = 0;          // bytes; 0: the attribute cannot be read
    std::uint8_t valueType = none;  // TYPE_VAL
};

/// A fault in the description files.
struct AtrFault {
    enum class File : std::uint8_t { offsets, types };
    File file = File::offsets;
    int entry = -1;      // from 0; -1: the file as a whole
    int attribute = -1;  // from 1; -1: the entry as a whole
    std::string text;    // ASCII
};

/// What the files hold.
struct AtrFiles {
    bool sameEntries = false;         ///< both files state the same number of entries
    std::vector<ListAllVar> entries;  ///< as many as the files state; those after a fault are empty
    std::vector<AtrFault> faults;     ///< what ended the reading; none when all was read
};

/// Reads the contents of the two files. Reading ends at the first fault: the entry that contains it
/// and all later ones stay empty. Throws std::bad_alloc only.
[[nodiscard]] AtrFiles readAtrFiles(std::span<const std::uint8_t> offsets,
                                    std::span<const std::uint8_t> types);

/// Checks an attribute of a type against a record of `recordSize` bytes.
/// @param num    attribute, from 1 to entry.Num
/// @param fault  may be null; receives what is wrong with the description. A storage kind that no
///               reader knows is no fault.
/// @return its place; of size 0 and value type `none` when it has none in such a record.
[[nodiscard]] AtrPlace placeOf(DB_TYPE type, const ListAllVar& entry, int num,
                               std::size_t recordSize, AtrFault* fault);
