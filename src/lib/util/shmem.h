#pragma once

#include <sys/types.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

/// One row of the IPC index table: what the key of a segment or semaphore is made from.
struct ID_struct {
    char file[80];  ///< suffix to the installation folder, NUL-terminated; empty in unused rows
    char ch;        ///< project character of the key; '*': chosen by the generation byte
};
static_assert(sizeof(ID_struct) == 81);

/// Number of IPC indices; the last ones are unused.
inline constexpr int kIpcIndexCount = 128;
/// Name registry: its segment, its semaphore and (this key and the next) the two message queues.
inline constexpr int kRegistryIpcIndex = 0;
/// The generation byte, by which '*' rows get another key after the controller changed its
/// generation.
inline constexpr int kGenerationIpcIndex = 48;

using IdTable = std::array<ID_struct, kIpcIndexCount>;

/// The two index tables, normal and debug, by IPC index. Every process of the controller has the
/// same tables: if they changed here, this process would no longer find the others' objects.
extern const IdTable ID_mas;
extern const IdTable Debug_ID_mas;

/// Project characters of '*' rows, by (IPC index + generation byte) mod 256. Two runs of values
/// occur twice; required by the interface.
extern const std::array<std::uint8_t, 256> symb;

/// Key of an IPC index as the database's segments use it. Not for semaphores (see SemKey).
///
/// @param debug  non-zero: by Debug_ID_mas
/// @return -1 when the index is outside 0 to 127 or the key file does not exist (errno says which).
/// A '*' row reads the generation byte, which may write a line to standard error (get_shmidx).
key_t ShmKey(int index, char debug);

/// Attaches the segment of an IPC index for reading and writing.
///
/// @param size    bytes; an existing segment may be larger, not smaller
/// @param mode    0: attach only. Otherwise the segment is made (0777, zeroed) when there is none.
/// @param id_out  may be null; receives the segment id once a segment was found or made, and -1
///                after ten attempts on a segment that stayed in removal. Untouched on other
///                failures.
/// @return the address, to be given back with ShmClose, or null. Silent when the key file or, with
///         mode 0, the segment is missing; other failures are reported on standard error and output
///         in fixed texts. Waits up to a second for a segment that is being removed.
void* ShmOpen(int index, std::size_t size, unsigned mode, int* id_out, char debug);

/// The generation byte, from the segment of row `index` (48) of `table`, attached at the first
/// success and kept for the process's life, whatever table later calls name.
///
/// @return 255 when it cannot be read; the failing step is reported on standard error
///         ("vs_sem(ftok)", "idx(shmget)", "idx(shmat)") and the next call tries again.
/// The first successful call must not run beside another one.
std::uint8_t get_shmidx(int index, const ID_struct* table);

/// The generation byte as it is now, 255 when it cannot be read. Silent, and keeps nothing
/// attached.
std::uint8_t ShmGeneration();

/// Detaches what ShmOpen attached. Null is allowed.
/// @return 0, or -1 with errno set when nothing is attached at the address.
int ShmClose(const void* address);

/// Marks a segment for removal; it goes when the last process detached it.
/// @return 0, or -1 with errno set.
int ShmRemove(int id);

/// Owner of an attached address: detaches at the end of its scope.
struct ShmDetach {
    void operator()(const void* address) const { static_cast<void>(ShmClose(address)); }
};
using ShmPtr = std::unique_ptr<void, ShmDetach>;

/// A segment attached for reading.
struct ShmView {
    std::unique_ptr<const void, ShmDetach> address;  ///< null on failure
    std::size_t size = 0;                            ///< bytes
    int id = -1;                                     ///< kernel id
    int error = 0;                                   ///< errno of the step that failed
};

/// Attaches the segment of an IPC index for reading, for programs that must leave no trace: it
/// makes nothing, prints nothing, and needs only read permission. It reads the generation byte at
/// each call, so that it also finds a controller that was restarted.
/// @return error ENOENT when the key file or the segment is missing
[[nodiscard]] ShmView ShmOpenReadOnly(int index);
