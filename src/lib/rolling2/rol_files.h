#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "lib/rolling2/rol_shared.h"

// The journal's files. Readers accept any bytes.

/// What a messages file holds.
struct RolMessages {
    int error = 0;                      ///< kRolDone, kRolShortHeader, kRolBadHeader,
                                        ///< kRolShortMessage, kRolArgumentsOverflow
    std::vector<SRolMessage> messages;  ///< oldest first; after an error those before it
};

/// Reads the contents of a messages file; what follows the last message is ignored.
/// @param most  keeps that many of the newest messages
[[nodiscard]] RolMessages RolParseMessages(std::span<const std::uint8_t> bytes,
                                           std::size_t most = UINT16_MAX);

/// Reads the messages file of a copy; a failure is reported.
/// @return as RolParseMessages; error kRolCannotOpen too
[[nodiscard]] RolMessages RolLoadMessages(const char* path, std::size_t most);

/// Bytes that the loader takes from a counters file.
/// KEPT: eight items of 8 bytes, whereas the saver writes eight of 4. A saved file is therefore
/// always refused; only a file of another writer is accepted. Required by the interface.
inline constexpr std::size_t kRolCountersRead = kRolReaders * 8;
/// Bytes of a counters file as the saver writes it.
inline constexpr std::size_t kRolCountersWritten = kRolReaders * 4;

/// Reads the counters file of a copy; a failure is reported.
/// @return kRolDone; kRolCannotOpen, kRolShortMessage: `bytes` is untouched
[[nodiscard]] int RolLoadCounters(const char* path,
                                  std::array<std::uint8_t, kRolCountersRead>& bytes);

/// Replaces a file's contents and synchronises it to the disk. Reports nothing. A pipe or a device,
/// which cannot be synchronised, is still written.
/// @return kRolDone, kRolCannotOpen, kRolShortWrite, kRolNotOnDisk
[[nodiscard]] int RolWriteFile(const char* path, std::span<const std::uint8_t> bytes);

/// The result of CheckCRCFile for a copy.
struct RolCopyMark {
    int status = 0;
    unsigned saveNumber = 0;  ///< valid with status 0
};
[[nodiscard]] RolCopyMark RolReadMark(const char* crcPath);

/// What can be read of a copy: nothing, only its messages, or its counters too.
enum class RolCopyWorth : std::uint8_t { nothing, messages, whole };
inline constexpr std::size_t kRolCopies = 2;  ///< the main copy is 0, the reserve 1

/// Chooses the copy that a start loads, see docs/journal.md.
/// @param worth  examines a copy; called in the order in which copies are tried, for the second one
///               only when the first is not whole
/// @return its index, kRolCopies for none
[[nodiscard]] std::size_t RolChooseCopy(const std::array<RolCopyMark, kRolCopies>& marks,
                                        const std::function<RolCopyWorth(std::size_t)>& worth);
