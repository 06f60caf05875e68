// Loading the saved journal, and erasing its files.
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "lib/rolling2/rol_files.h"
#include "lib/rolling2/rol_lock.h"
#include "lib/rolling2/rol_report.h"
#include "lib/util/crc.h"

// ---- One copy ----------------------------------------------------------------------------------

struct CRolManager::LoadedCopy {
    RolMessages messages;
    int countersError = kRolDone;
    std::array<std::uint8_t, kRolCountersRead> counters{};

    bool isWhole() const { return messages.error == kRolDone && countersError == kRolDone; }
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

/// Fills the ring from slot 0. Without good counters every reader has all of it unread.
void CRolManager::fillRing(const LoadedCopy& copy) {
    const auto& messages = copy.messages.messages;
    const std::size_t count = messages.size();
    std::memcpy(Messages, messages.data(), count * sizeof(SRolMessage));
    *LastIndex = static_cast<std::uint16_t>(count - 1);
    *MessageCounter = static_cast<std::uint16_t>(count);
    if (copy.countersError != kRolDone) {
        std::fill_n(CntRolPerSock->counters, kRolReaders, static_cast<std::uint32_t>(count));
        return;
    }
    // KEPT: the items read are twice as long as the counters, so the second half of them comes to
    // lie on the beginning of what follows the counters.
    std::memcpy(static_cast<void*>(CntRolPerSock), copy.counters.data(), copy.counters.size());
    for (std::uint32_t& counter : CntRolPerSock->counters)
        counter = std::min<std::uint32_t>(counter, capacity());
}

int CRolManager::loadOne(Copy copy) {
    const LoadedCopy loaded = readCopy(copy);
    if (loaded.isWhole()) fillRing(loaded);
    return loaded.error();
}

// ---- The choice --------------------------------------------------------------------------------

namespace {

struct CrcStatus {
    int status = 0;  // of CheckCRCFile
    unsigned value = 0;

    bool isGood() const { return status == 0; }
    bool isMissing() const { return status == 1; }
};

CrcStatus crcStatus(const char* path) {
    CrcStatus crc;
    crc.status = CheckCRCFile(path, &crc.value);
    return crc;
}

}  // namespace

int CRolManager::loadBest() {
    const CrcStatus main = crcStatus(Rol2CRCPath);
    const CrcStatus reserve = crcStatus(Rol2CRCPathRez);
    const bool bothMissing = main.isMissing() && reserve.isMissing();
    if (!bothMissing && !main.isGood() && !reserve.isGood()) {
        erase(Copy::main);
        erase(Copy::reserve);
        return kRolCannotOpen;
    }
    const bool mainFirst =
        bothMissing || (main.isGood() && (!reserve.isGood() || main.value > reserve.value));
    const Copy first = mainFirst ? Copy::main : Copy::reserve;
    const Copy second = mainFirst ? Copy::reserve : Copy::main;

    LoadedCopy readable;  // the first one whose messages can be read
    readable.messages.error = kRolCannotOpen;
    for (const Copy copy : {first, second}) {
        LoadedCopy loaded = readCopy(copy);
        if (loaded.isWhole()) {
            fillRing(loaded);
            // The other one is older, but might count as newer once saving begins anew.
            unlink(filesOf(copy == first ? second : first).crc);
            return kRolDone;
        }
        erase(copy);
        if (readable.messages.error != kRolDone) readable = std::move(loaded);
    }
    // KEPT: saved counters are always refused (kRolCountersRead), so this is how the journal comes
    // back: with the messages, and no file left.
    if (readable.messages.error == kRolDone) fillRing(readable);
    return readable.error();
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
        static_cast<void>(unlink(path));  // one that is not there is as good as erased
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
