#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "lib/rolling2/rol_shared.h"

// The journal's files. Readers take bytes of any content.

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
/// KEPT: eight items of 8 bytes, where the saver writes eight of 4. A saved file is therefore
/// always refused; only one of another writer passes.
inline constexpr std::size_t kRolCountersRead = kRolReaders * 8;
/// Bytes of a counters file as the saver writes it.
inline constexpr std::size_t kRolCountersWritten = kRolReaders * 4;

/// Reads the counters file of a copy; a failure is reported.
/// @return kRolDone; kRolCannotOpen, kRolShortMessage: `bytes` is untouched
[[nodiscard]] int RolLoadCounters(const char* path,
                                  std::array<std::uint8_t, kRolCountersRead>& bytes);

/// Writes a file anew, to the disk, in one piece. Reports nothing.
/// @return kRolDone, kRolCannotOpen, kRolShortWrite
[[nodiscard]] int RolWriteFile(const char* path, std::span<const std::uint8_t> bytes);
