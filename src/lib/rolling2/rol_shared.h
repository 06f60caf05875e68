#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "lib/util/TimeType.h"

// The event journal as all processes of the controller see it: records in shared memory and in
// files. Little-endian, packed. See docs/journal.md.

#pragma pack(push, 1)

struct TFullTime {
    std::uint32_t sec;   // 0  s since 1970, UTC
    std::uint16_t msec;  // 4  0 to 999
};

/// One message. In files it is cut to its used length, see RolWriteRaw. Copy fields out: a
/// reference to one of a packed record is not aligned.
struct SRolMessage {
    timeval_32
        PseudoTimeStamp;        //  0  orders the messages: no two are equal, later ones are greater
    TFullTime Date;             //  8  of the event
    std::uint32_t DicNumber;    // 14  dictionary
    std::uint32_t MessageCode;  // 18  message in the dictionary
    std::int8_t VarType;        // 22  type of a database variable, -1 without one
    std::int16_t VarNumber;     // 23  its number, -1 without one
    std::uint8_t NumberOfArgs;  // 25
    std::uint8_t ArgsBuffer[255];  // 26  per argument: TRolArgType, bytes of data, the data
};

struct SRolIniFileSettings {
    std::uint16_t NumMessagesInMemory;  //  0  slots of the ring
    std::uint16_t NumMessagesInFile;    //  2
    std::uint64_t SaveInterval;         //  4  ms
    std::uint64_t SysDict;              // 12  dictionary of Message()
    char DictPath[100];                 // 20  folder of the dictionaries, NUL-terminated
};

struct SRolVersion {
    std::uint16_t Major;  // 0
    std::uint16_t Minor;  // 2
};

/// Unread messages by reader, and room of other processes.
struct SCntRolPerSock {
    std::uint32_t counters[8];      //  0
    std::uint8_t newPasp[10][176];  // 32  VA, AV, HI, DI, DO _newPaspI, then the same _newPaspO
};

/// Head of the messages file; the messages follow, oldest first.
struct SRolFileHeader {
    char tag[10];         //  0  kRolFileTag, no terminator
    std::uint16_t count;  // 10  messages in the file
    std::uint16_t last;   // 12  index of the newest one, count - 1
};

#pragma pack(pop)

static_assert(sizeof(TFullTime) == 6 && offsetof(TFullTime, msec) == 4);
static_assert(sizeof(SRolMessage) == 281);
static_assert(offsetof(SRolMessage, Date) == 8);
static_assert(offsetof(SRolMessage, DicNumber) == 14);
static_assert(offsetof(SRolMessage, MessageCode) == 18);
static_assert(offsetof(SRolMessage, VarType) == 22);
static_assert(offsetof(SRolMessage, VarNumber) == 23);
static_assert(offsetof(SRolMessage, NumberOfArgs) == 25);
static_assert(offsetof(SRolMessage, ArgsBuffer) == 26);
static_assert(sizeof(SRolIniFileSettings) == 120);
static_assert(offsetof(SRolIniFileSettings, NumMessagesInFile) == 2);
static_assert(offsetof(SRolIniFileSettings, SaveInterval) == 4);
static_assert(offsetof(SRolIniFileSettings, SysDict) == 12);
static_assert(offsetof(SRolIniFileSettings, DictPath) == 20);
static_assert(sizeof(SRolVersion) == 4 && offsetof(SRolVersion, Minor) == 2);
static_assert(sizeof(SCntRolPerSock) == 1792 && offsetof(SCntRolPerSock, newPasp) == 32);
static_assert(sizeof(SRolFileHeader) == 14);
static_assert(offsetof(SRolFileHeader, count) == 10 && offsetof(SRolFileHeader, last) == 12);
static_assert(std::is_trivially_copyable_v<SRolMessage>);

/// Bytes of a message before its arguments.
inline constexpr std::size_t kRolHeadSize = offsetof(SRolMessage, ArgsBuffer);
inline constexpr char kRolFileTag[] = "veskrol2.1";
static_assert(sizeof(kRolFileTag) == sizeof(SRolFileHeader::tag) + 1);
/// Readers that have a counter of unread messages.
inline constexpr std::size_t kRolReaders = 8;

/// IPC indices of the journal.
enum RolIpcIndex : int {
    kRolSemaphore = 49,
    kRolSettings = 50,
    kRolRing = 51,
    kRolMessageCounter = 52,
    kRolLastIndex = 53,
    kRolSaveRol = 54,
    kRolCurSavePlace = 55,
    kRolNewMessages = 56,
    kRolReaderCounters = 57,
    kRolUdpVersion = 58,
    kRolVersion = 87,
    kRolPosition24 = 45,  // of others, as all below
    kRolVariableCounts = 59,
    kRolFirstDictionary = 71,
};

/// The segments that belong to the journal; a program that ends the journal as a whole removes
/// these and the semaphore (whose key is SemKey's, theirs ShmKey's).
inline constexpr std::array<int, 10> kRolOwnSegments = {
    kRolSettings, kRolVersion,      kRolRing,        kRolMessageCounter, kRolLastIndex,
    kRolSaveRol,  kRolCurSavePlace, kRolNewMessages, kRolUdpVersion,     kRolReaderCounters};

/// The variable counts: thirteen, the first five are those of the dictionaries.
inline constexpr std::size_t kRolVariableCountsSize = 26;
inline constexpr std::size_t kRolDictionaries = 5;
/// Bytes of one entry of a variable dictionary.
inline constexpr std::size_t kRolDictionaryEntry = 8;

/// Dictionary and code of the message that replaces one that could not be built.
inline constexpr std::uint32_t kRolInternalDictionary = 301;
inline constexpr std::uint32_t kRolInternalCode = 1003;

/// What goes wrong, by the number that the operations answer and operators read. A segment that
/// is unavailable has its IPC index as its number.
enum RolError : int {
    kRolDone = 0,
    kRolArgumentType = 1,       ///< no argument, or one of a type that the format does not have
    kRolNotOpen = 2,            ///< Init was not called or failed
    kRolShortMessage = 3,       ///< a file ends inside a message or a counter
    kRolArgumentsOverflow = 4,  ///< arguments longer than the record has room for
    kRolCannotOpen = 5,
    kRolBadHeader = 6,
    kRolShortHeader = 7,
    kRolShortWrite = 8,
    kRolNoMemory = 9,
    kRolNoThread = 10,
    kRolNotOnDisk = 11,  ///< written, but the disk reported an error when it was synchronised
};
