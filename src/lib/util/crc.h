#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

// CRC files: 14 bytes beside a saved copy of the journal or the database. An intact file
// shows that the copy was written to its end; its value shows which of two copies is newer.
// The contents of the copy are not checked by it. See docs/journal.md.

#pragma pack(push, 1)
struct SCRCFile {
    char tag[8];          //  0  "VSX__CRC", no terminator
    std::uint32_t value;  //  8  journal: number of the save; database: time, s since 1970
    std::uint16_t check;  // 12  CalculateCRC of the four bytes of `value`
};
#pragma pack(pop)
static_assert(sizeof(SCRCFile) == 14);
static_assert(offsetof(SCRCFile, value) == 8);
static_assert(offsetof(SCRCFile, check) == 12);
static_assert(std::is_trivially_copyable_v<SCRCFile>);

/// The CRC files of journal, database and second database, below PATHDB.
inline constexpr const char* kCrcFileRol = "check/chk_rol2.dat";
inline constexpr const char* kCrcFileRolRez = "check/chk_rol2.rez";
inline constexpr const char* kCrcFileDb = "check/chk_db.dat";
inline constexpr const char* kCrcFileDbRez = "check/chk_db.rez";
inline constexpr const char* kCrcFileDb2 = "check/chk_db2.dat";
inline constexpr const char* kCrcFileDb2Rez = "check/chk_db2.rez";

/// CRC-16/MODBUS of `length` bytes with its two bytes swapped ("123456789": 0x374B).
[[nodiscard]] std::uint16_t CalculateCRC(const unsigned char* data, int length);

/// A cheaper check value: adds each byte and rotates right by one bit. Of no use for files here.
[[nodiscard]] std::uint16_t CalculateFastCRC(const unsigned char* data, int length);

/// Marks a copy of the database as written now. A file that cannot be written is not reported: the
/// loader then takes the other copy.
void SaveCRCFileDB(const char* path);

/// Marks a copy of the journal as the newest one. This process counts its saves: 0 for the first
/// file, one more after each file written. Failures as in SaveCRCFileDB. Any thread: calls take
/// turns.
void SaveCRCFileRoll(const char* path);

/// Checks whether a CRC file is intact.
/// @param value  receives the file's value; untouched unless the result is 0
/// @return 0; 1 file cannot be opened or is too short; 2 check value differs; 3 tag differs
[[nodiscard]] int CheckCRCFile(const char* path, unsigned int* value);

/// Removes the CRC files of journal, database and second database, including those of the reserve
/// copies, and prints a line to standard output whether or not there were any.
void EraseCRCFiles();
