#include "lib/bd_vesk/tq.h"

#include <cstdio>
#include <cstring>
#include <ctime>
#include <new>
#include <numeric>

#include "lib/bd_vesk/typevars.h"
#include "lib/util/shmem.h"

namespace {

constexpr int kCountsIndex = 59;  // IPC index of the counts: 13 of them, five are used here
constexpr std::size_t kCountsSize = 26;
constexpr int kTableIndex = 85;  // IPC index of the table
constexpr unsigned kAttachOnly = 0;
constexpr unsigned kCreate = 64;

}  // namespace

TQManager::TQManager(std::uint16_t* counts) : TQNumVar(counts) {
    if (TQNumVar == nullptr) attachCounts();
    takeCounts();
}

/// Attaches the controller's counts in place of those attached before, which stay when there are no
/// others.
void TQManager::attachCounts() {
    void* const counts = ShmOpen(kCountsIndex, kCountsSize, kAttachOnly, nullptr, 0);
    if (counts == nullptr) return;
    if (is_attached) static_cast<void>(ShmClose(TQNumVar));
    TQNumVar = static_cast<std::uint16_t*>(counts);
    is_attached = 1;
}

void TQManager::takeCounts() {
    if (TQNumVar == nullptr) return;
    for (std::size_t type = 0; type < counts_.size(); ++type)
        counts_[type] = countNow(type);
    TQVarsAmmount = std::accumulate(counts_.begin(), counts_.end(), 0);
}

TQManager::~TQManager() {
    if (is_attached) static_cast<void>(ShmClose(TQNumVar));
    if (is_shared) releaseShared();
}

std::size_t TQManager::tableSize() const {
    return static_cast<std::size_t>(TQVarsAmmount) * sizeof(TQF);
}

/// Detaches the shared table, and removes it if it was made here, because nobody else would.
void TQManager::releaseShared() {
    // Failures are not reported: they mean that another process has already removed the segment.
    static_cast<void>(ShmClose(TQDBValues[0]));
    if (created_) static_cast<void>(ShmRemove(id_TQDBValues));
    created_ = false;
    TQDBValues = {};
    is_shared = 0;
}

void TQManager::useTable(TQF* table) {
    for (std::size_t type = 0; type < TQDBValues.size(); ++type) {
        TQDBValues[type] = table;
        table += counts_[type];
    }
}

/// Attaches the shared table or makes it. @return null without one.
TQF* TQManager::openShared(char debug) {
    auto* table =
        static_cast<TQF*>(ShmOpen(kTableIndex, tableSize(), kAttachOnly, &sharedId_, debug));
    if (table != nullptr) return table;
    table = static_cast<TQF*>(ShmOpen(kTableIndex, tableSize(), kCreate, &id_TQDBValues, debug));
    created_ = table != nullptr;
    sharedId_ = id_TQDBValues;
    return table;
}

int TQManager::TQInit(char debug) {
    if (is_alloc) return -1;
    if (is_shared) releaseShared();
    if (TQNumVar == nullptr || is_attached) attachCounts();
    takeCounts();
    TQF* const table = openShared(debug);
    if (table == nullptr) return -1;
    useTable(table);
    is_shared = 1;
    if (!debug) {
        if (created_) std::memset(static_cast<void*>(table), 0, tableSize());
        return 0;
    }
    const ShmPtr normal(ShmOpen(kTableIndex, tableSize(), kAttachOnly, nullptr, 0));
    if (normal == nullptr) {
        releaseShared();
        return -1;
    }
    std::memcpy(static_cast<void*>(table), normal.get(), tableSize());
    return 0;
}

int TQManager::TQInitSnap() {
    if (is_shared) return -1;
    takeCounts();
    TQDBValues = {};
    private_.reset(new (std::nothrow) TQF[static_cast<std::size_t>(TQVarsAmmount)]());
    if (private_ == nullptr) return -1;
    useTable(private_.get());
    is_alloc = 1;
    return 0;
}

int TQManager::TQGenerateSnapFor(TQManager* other) {
    if (!is_shared || other == nullptr || other->record(0, 0) == nullptr) return -1;
    if (other->TQVarsAmmount < TQVarsAmmount) return -1;
    std::memcpy(static_cast<void*>(other->TQDBValues[0]), TQDBValues[0], tableSize());
    return 0;
}

int TQManager::TQSetTime(char type, std::uint16_t index, timeval time) {
    TQF* const r = record(static_cast<std::uint8_t>(type), index);
    if (r == nullptr) return -1;
    storeField(&r->Time.tv_sec, time.tv_sec);
    storeField(&r->Time.tv_usec, time.tv_usec);
    return 0;
}

int TQManager::TQSetQuality(char type, std::uint16_t index, unsigned quality) {
    TQF* const r = record(static_cast<std::uint8_t>(type), index);
    if (r == nullptr) return -1;
    storeField<std::uint32_t>(&r->Quality, quality);
    return 0;
}

int TQManager::TQSetFlags(char type, std::uint16_t index, unsigned flags) {
    TQF* const r = record(static_cast<std::uint8_t>(type), index);
    if (r == nullptr) return -1;
    storeField<std::uint32_t>(&r->Flags, flags);
    return 0;
}

namespace {

/// Local time with a newline at its end; the newline alone for a year that cannot be printed.
const char* timeText(std::time_t seconds) {
    const char* const text = std::ctime(&seconds);
    return text != nullptr ? text : "\n";
}

}  // namespace

void TQManager::TQPrintAll() const {
    for (int type = 0; type < kTypes; ++type) {
        const char* const name = kTables[static_cast<std::size_t>(type)].name.data();
        const auto code = static_cast<char>(type);
        std::printf("%s:\n", name);
        for (std::uint16_t index = 0; TQGetTQFPointer(code, index) != nullptr; ++index)
            std::printf("%s%d - %s | %x | %x\n", name, index,
                        timeText(TQGetTime(code, index).tv_sec), TQGetQuality(code, index),
                        TQGetFlags(code, index));
    }
}
