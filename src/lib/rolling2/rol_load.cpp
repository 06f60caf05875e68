// Loading the saved journal, and erasing its files.
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

#include "lib/rolling2/rol_files.h"
#include "lib/rolling2/rol_lock.h"
#include "lib/rolling2/rol_report.h"

// ---- One copy ----------------------------------------------------------------------------------

struct CRolManager::LoadedCopy {
    RolMessages messages;
    int countersError = kRolDone;
    std::array<std::uint8_t, kRolCountersRead> counters{};

    RolCopyWorth worth() const {
        if (messages.error != kRolDone) return RolCopyWorth::nothing;
        return countersError == kRolDone ? RolCopyWorth::whole : RolCopyWorth::messages;
    }
    int error() const { return messages.error != kRolDone ? messages.error : countersError; }
};

CRolManager::LoadedCopy CRolManager::readCopy(Copy copy) const {
    const bool isMain = copy == Copy::main;
    const CopyFiles files = filesOf(copy);
    LoadedCopy loaded;
    loaded.messages = RolLoadMessages(files.messages, capacity());
    if (loaded.messages.error != kRolDone) {
        RolReport(isMain ? RolText::mainMessagesFailed : RolText::reserveMessagesFailed,
                  {.code = loaded.messages.error});
        return loaded;
    }
    loaded.countersError = RolLoadCounters(files.counters, loaded.counters);
    if (loaded.countersError != kRolDone)
        RolReport(isMain ? RolText::mainCountersFailed : RolText::reserveCountersFailed,
                  {.code = loaded.countersError});
    return loaded;
}

/// Fills the ring from slot 0. Without good counters all messages count as unread for every reader.
/// The message count is 0 meanwhile and is set last: a process that dies in between leaves an empty
/// ring.
void CRolManager::fillRing(const LoadedCopy& copy) {
    const auto& messages = copy.messages.messages;
    const std::size_t count = messages.size();
    RolStoreInOrder(MessageCounter, 0);
    std::memcpy(Messages, messages.data(), count * sizeof(SRolMessage));
    fillCounters(copy);
    RolStoreInOrder(LastIndex, static_cast<unsigned>(count - 1));
    RolStoreInOrder(MessageCounter, static_cast<unsigned>(count));
}

void CRolManager::fillCounters(const LoadedCopy& copy) {
    if (copy.countersError != kRolDone) {
        std::fill_n(CntRolPerSock->counters, kRolReaders,
                    static_cast<std::uint32_t>(copy.messages.messages.size()));
        return;
    }
    // KEPT: the items read are twice as long as the counters, so their second half overwrites the
    // bytes after the counters. Required by the interface.
    std::memcpy(static_cast<void*>(CntRolPerSock), copy.counters.data(), copy.counters.size());
    for (std::uint32_t& counter : CntRolPerSock->counters)
        counter = std::min<std::uint32_t>(counter, capacity());
}

int CRolManager::loadOne(Copy copy) {
    const LoadedCopy loaded = readCopy(copy);
    if (loaded.worth() == RolCopyWorth::whole) fillRing(loaded);
    return loaded.error();
}

// ---- The choice --------------------------------------------------------------------------------

/// Chooses, fills, then erases: if the process dies in between, the next one finds either a filled
/// ring or the files.
int CRolManager::loadBest() {
    std::array<std::optional<LoadedCopy>, kRolCopies> loaded;
    const std::size_t best = RolChooseCopy({RolReadMark(Rol2CRCPath), RolReadMark(Rol2CRCPathRez)},
                                           [&](std::size_t copy) {
                                               loaded.at(copy) = readCopy(static_cast<Copy>(copy));
                                               return loaded.at(copy)->worth();
                                           });
    const int error = best < kRolCopies ? loaded.at(best)->error() : kRolCannotOpen;
    if (best < kRolCopies) fillRing(*loaded.at(best));
    if (error != kRolDone) {
        // KEPT: saved counters are always refused (kRolCountersRead), so every normal load ends
        // here: the messages are in the ring and no file is left. Required by the interface.
        EraseRollingFiles();
        return error;
    }
    const std::size_t other = 1 - best;
    if (loaded.at(other)) {
        erase(static_cast<Copy>(other));
    } else {
        // It is older, but might count as newer once saving begins again.
        unlink(filesOf(static_cast<Copy>(other)).crc);
    }
    return kRolDone;
}

int CRolManager::Load() {
    if (Messages == nullptr) return kRolNotOpen;
    const Lock lock(*this);
    return loadBest();
}

int CRolManager::LoadMainRolling() {
    if (Messages == nullptr) return kRolNotOpen;
    const Lock lock(*this);
    return loadOne(Copy::main);
}

int CRolManager::LoadRezRolling() {
    if (Messages == nullptr) return kRolNotOpen;
    const Lock lock(*this);
    return loadOne(Copy::reserve);
}

// ---- Erasing -----------------------------------------------------------------------------------

void CRolManager::erase(Copy copy) const {
    const CopyFiles files = filesOf(copy);
    for (const char* path : {files.messages, files.counters, files.crc})
        static_cast<void>(unlink(path));  // a missing file counts as erased
}

void CRolManager::EraseMainRollingFiles() {
    erase(Copy::main);
}
void CRolManager::EraseRezRollingFiles() {
    erase(Copy::reserve);
}
void CRolManager::EraseRollingFiles() {
    erase(Copy::main);
    erase(Copy::reserve);
}
