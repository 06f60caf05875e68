// Saving: a snapshot under the lock, written by a thread without it.
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <iterator>
#include <new>

#include "lib/rolling2/rol_files.h"
#include "lib/rolling2/rol_lock.h"
#include "lib/rolling2/rol_report.h"
#include "lib/util/crc.h"
#include "lib/util/priorities.h"

// ---- On and off --------------------------------------------------------------------------------

namespace {
constexpr char kSavingOn = 1;
constexpr char kSavingOff = 2;
}  // namespace

void CRolManager::SetSaveRol(char isOn) {
    if (Messages == nullptr) return;
    const Lock lock(*this);
    const bool on = isOn == kSavingOn && IniFileSettings->NumMessagesInFile != 0;
    *SaveRol = on ? kSavingOn : kSavingOff;
}

char CRolManager::GetSaveRol() const {
    return SaveRol != nullptr ? *SaveRol : kSavingOff;
}

// ---- The snapshot ------------------------------------------------------------------------------

/// Image of a messages file with the `count` newest messages.
/// @return its bytes
std::size_t CRolManager::snapshotMessages(unsigned count, std::uint8_t* image) const {
    SRolFileHeader header{
        {}, static_cast<std::uint16_t>(count), static_cast<std::uint16_t>(count - 1)};
    std::memcpy(header.tag, kRolFileTag, sizeof(header.tag));
    std::memcpy(image, &header, sizeof(header));
    std::size_t size = sizeof(header);
    for (unsigned age = count; age-- > 0;)
        size += RolWriteRaw(Messages[CycMinus(newest(), age, capacity())], image + size);
    return size;
}

int CRolManager::snapshot(Copy copy) {
    if (GetSaveRol() != kSavingOn || held() == 0) return kRolDone;
    const std::uint16_t inFile = IniFileSettings->NumMessagesInFile;
    const std::size_t room = sizeof(SRolFileHeader) + inFile * sizeof(SRolMessage);
    if (snapshot_.imageRoom < room) {
        snapshot_.image.reset(new (std::nothrow) std::uint8_t[room]);
        snapshot_.imageRoom = snapshot_.image != nullptr ? room : 0;
    }
    if (snapshot_.image == nullptr) {
        erase(copy);
        return kRolNoMemory;
    }
    snapshot_.imageSize = snapshotMessages(std::min(held(), inFile), snapshot_.image.get());
    for (std::size_t i = 0; i < kRolReaders; ++i)
        snapshot_.counters[i] = std::min<std::uint32_t>(CntRolPerSock->counters[i], inFile);
    snapshot_.files = filesOf(copy);
    snapshot_.isNew = true;
    return kRolDone;
}

/// Takes the snapshot for the copy whose turn it is.
int CRolManager::snapshotNext() {
    if (GetSaveRol() != kSavingOn || held() == 0) return kRolDone;
    const Copy copy = *CurSavePlace == 0 ? Copy::main : Copy::reserve;
    *CurSavePlace = copy == Copy::main ? 1 : 0;
    const int result = snapshot(copy);
    *flagNewMessages = 0;
    return result;
}

// ---- The writer --------------------------------------------------------------------------------

int CRolManager::writeSnapshot() {
    const CopyFiles files = snapshot_.files;
    if (files.messages == nullptr) {
        RolReport(RolText::nothingToWrite);
        return kRolCannotOpen;
    }
    if (!snapshot_.isNew) return kRolDone;
    snapshot_.isNew = false;

    // Affects this thread only. If it is refused, the save still works.
    constexpr SPriority kSavePriority{SCHED_OTHER, 10};
    static_cast<void>(SetNice(kSavePriority));

    std::uint8_t counters[kRolCountersWritten];
    static_assert(sizeof(snapshot_.counters) == sizeof(counters));
    std::memcpy(counters, snapshot_.counters.data(), sizeof(counters));
    const struct {
        const char* path;
        std::span<const std::uint8_t> bytes;
        RolText notWritable;
    } steps[] = {
        {files.messages,
         {snapshot_.image.get(), snapshot_.imageSize},
         RolText::messagesNotWritable},
        {files.counters, counters, RolText::countersNotWritable},
    };
    for (const auto& step : steps) {
        const int error = RolWriteFile(step.path, step.bytes);
        if (error == kRolDone) continue;
        RolReport(error == kRolCannotOpen  ? step.notWritable
                  : error == kRolNotOnDisk ? RolText::notOnDisk
                                           : RolText::shortWrite,
                  {.path = step.path});
        // The CRC file of an earlier save no longer describes the copy, which has been overwritten,
        // unless the first file could not even be opened.
        const bool isUntouched = error == kRolCannotOpen && &step == std::begin(steps);
        if (!isUntouched) static_cast<void>(unlink(files.crc));
        return error;
    }
    // Written last: until then the loader finds the copy's old CRC file, or none.
    SaveCRCFileRoll(files.crc);
    return kRolDone;
}

void* CRolManager::SaveRollThread(void* manager) {
    auto& self = *static_cast<CRolManager*>(manager);
    const int result = self.writeSnapshot();
    self.writerRuns_ = false;
    return reinterpret_cast<void*>(static_cast<std::intptr_t>(result));
}

int CRolManager::startWriter() {
    // The writer must not receive signals that are meant to end a wait of the main thread.
    sigset_t all;
    sigset_t former;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &former);
    writerRuns_ = true;
    writerStarted_ = pthread_create(&writer_, nullptr, &SaveRollThread, this) == 0;
    pthread_sigmask(SIG_SETMASK, &former, nullptr);
    if (writerStarted_) return kRolDone;
    writerRuns_ = false;
    // The snapshot would be outdated at the next save, but its messages are not saved yet.
    snapshot_.isNew = false;
    const Lock lock(*this);
    *flagNewMessages = 1;
    return kRolNoThread;
}

int CRolManager::waitForWriter() {
    if (!writerStarted_) return kRolDone;
    void* result = nullptr;
    pthread_join(writer_, &result);
    writerStarted_ = false;
    return static_cast<int>(reinterpret_cast<std::intptr_t>(result));
}

// ---- The operations ----------------------------------------------------------------------------

int CRolManager::Save() {
    if (Messages == nullptr || writerRuns_) return kRolDone;
    const std::lock_guard guard(saveMutex_);
    static_cast<void>(waitForWriter());  // it has ended and reported
    {
        const Lock lock(*this);
        if (*flagNewMessages == 0) return kRolDone;
        if (const int error = snapshotNext(); error != kRolDone) return error;
    }
    return snapshot_.isNew ? startWriter() : kRolDone;
}

/// @param take  makes the snapshot, under the lock
int CRolManager::saveAndWait(int (CRolManager::*take)()) {
    if (Messages == nullptr) return kRolNotOpen;
    const std::lock_guard guard(saveMutex_);
    static_cast<void>(waitForWriter());  // for an earlier save
    {
        const Lock lock(*this);
        if (const int error = (this->*take)(); error != kRolDone) return error;
    }
    if (!snapshot_.isNew) return kRolDone;
    // A thread here too: it lowers its priority and cannot raise it again, so the caller's thread
    // must not do the work.
    if (const int error = startWriter(); error != kRolDone) return error;
    return waitForWriter();
}

int CRolManager::ForceSave() {
    return saveAndWait(&CRolManager::snapshotNext);
}
int CRolManager::SaveMainRolling() {
    return saveAndWait(&CRolManager::snapshotMain);
}
int CRolManager::SaveRezRolling() {
    return saveAndWait(&CRolManager::snapshotReserve);
}
