#pragma once

#include <array>
#include <cstddef>
#include <string>

#include "lib/rolling2/rol_files.h"

namespace tools::zrtjournal {

/// One of the two copies of the journal on the disk.
struct SavedCopy {
    enum class Crc { good, missing, damaged };
    enum class Counters { good, missing, damaged };

    bool isReserve = false;
    std::string messagesPath;
    std::string countersPath;
    std::string crcPath;

    RolMessages messages;  ///< error kRolCannotOpen: missing or unreadable
    Crc crc = Crc::missing;
    RolCopyMark mark;  ///< what the journal's loader reads from that file
    Counters counters = Counters::missing;

    /// None of its files exists.
    [[nodiscard]] bool isAbsent() const;
    /// Intact in every respect.
    [[nodiscard]] bool isGood() const;
    /// All its messages can be read.
    [[nodiscard]] bool hasAllMessages() const { return messages.error == kRolDone; }
};

/// The main copy, then the reserve.
using SavedCopies = std::array<SavedCopy, 2>;

/// Reads both copies and changes nothing.
/// @param folder  with "dat", "rezerv" and "check" in it
[[nodiscard]] SavedCopies readCopies(const std::string& folder);

/// The copy to show: the one that the controller's next start loads; if it would load none, the one
/// of which more can be read.
/// @return its index, 2 when nothing can be read
[[nodiscard]] std::size_t bestCopy(const SavedCopies& copies);

}  // namespace tools::zrtjournal
