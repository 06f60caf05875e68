#include "lib/util/shmem.h"

#include <sys/ipc.h>
#include <sys/shm.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>

#include "lib/util/veskpath.h"

// ---- Keys ----

namespace {

key_t keyOf(const ID_struct& row, int character) {
    const std::string file = std::string(SRV_Path.VESKPATH) + row.file;
    return ftok(file.c_str(), character);
}

}  // namespace

key_t ShmKey(int index, char debug) {
    if (index < 0 || index >= kIpcIndexCount) {
        errno = EINVAL;
        return -1;
    }
    const IdTable& table = debug != 0 ? Debug_ID_mas : ID_mas;
    const ID_struct& row = table[static_cast<std::size_t>(index)];
    if (row.ch != '*') return keyOf(row, row.ch);
    const unsigned generation = get_shmidx(kGenerationIpcIndex, table.data());
    return keyOf(row, symb[(static_cast<unsigned>(index) + generation) & 0xFFU]);
}

// ---- Attaching ----

namespace {

constexpr unsigned kPermissions = 0777;
constexpr int kRemovalAttempts = 10;
constexpr useconds_t kRemovalWaitUs = 100'000;

struct Attached {
    enum class Step { none, key, get, attach };
    void* address = nullptr;
    int id = -1;
    int error = 0;  // errno of the step that failed
    Step failed = Step::none;
};

bool inRemoval(const Attached& a) {
    return a.failed == Attached::Step::get && a.error == EIDRM;
}

void attachFound(Attached& a) {
    a.failed = Attached::Step::none;
    void* const address = shmat(a.id, nullptr, 0);
    if (address == reinterpret_cast<void*>(-1)) {
        a.failed = Attached::Step::attach;
        a.error = errno;
        return;
    }
    a.address = address;
}

Attached attachOnce(key_t key, std::size_t size, unsigned mode) {
    Attached a;
    const unsigned flags = mode != 0 ? IPC_CREAT | kPermissions : kPermissions;
    a.id = shmget(key, size, static_cast<int>(flags));
    if (a.id == -1) {
        a.failed = Attached::Step::get;
        a.error = errno;
        return a;
    }
    attachFound(a);
    return a;
}

// "Инициализация разделяемой памяти" in CP866, the code page of the controller's consoles.
constexpr char kInRemovalCp866[] =
    "\x88\xAD\xA8\xE6\xA8\xA0\xAB\xA8\xA7\xA0\xE6\xA8\xEF "
    "\xE0\xA0\xA7\xA4\xA5\xAB\xEF\xA5\xAC\xAE\xA9 "
    "\xAF\xA0\xAC\xEF\xE2\xA8";

// As attachOnce, but gives a segment that is being removed a second to disappear.
Attached attachAfterRemoval(key_t key, std::size_t size, unsigned mode) {
    Attached a;
    for (int attempt = 0; attempt < kRemovalAttempts; ++attempt) {
        a = attachOnce(key, size, mode);
        if (!inRemoval(a)) return a;
        std::puts(kInRemovalCp866);
        usleep(kRemovalWaitUs);
    }
    // KEPT: attaching is attempted with the failed id and fails. So a segment that stays in removal
    // is reported as "ShmOpen(shmat)", and the caller's id becomes -1. Required by the interface.
    attachFound(a);
    return a;
}

// The texts are part of the interface and stay as they are.
void report(const Attached& a, int index, key_t key, std::size_t size, unsigned mode) {
    errno = a.error;
    if (a.failed == Attached::Step::attach) std::perror("ShmOpen(shmat)");
    if (a.failed != Attached::Step::get) return;
    if (mode == 0 && a.error == ENOENT) return;  // "not there yet" is an answer, not a fault
    std::perror("ShmOpen(shmget)");
    std::printf(a.error == EINVAL ? "Error EINVAL index: %d key: %#08x len: %d iden=%d mode=%d\n"
                                  : "Error ShmOpen index: %d key: %#08x len: %d iden=%d mode=%d\n",
                index, static_cast<unsigned>(key), static_cast<int>(size), a.id,
                static_cast<int>(mode));
}

}  // namespace

void* ShmOpen(int index, std::size_t size, unsigned mode, int* id_out, char debug) {
    const key_t key = ShmKey(index, debug);
    if (key == -1) return nullptr;
    const Attached a = attachAfterRemoval(key, size, mode);
    if (a.failed != Attached::Step::none) report(a, index, key, size, mode);
    if (a.failed != Attached::Step::get && id_out != nullptr) *id_out = a.id;
    return a.address;
}

int ShmClose(const void* address) {
    return address == nullptr ? 0 : shmdt(address);
}

int ShmRemove(int id) {
    return shmctl(id, IPC_RMID, nullptr);
}

// ---- Generation byte ----

namespace {

constexpr std::uint8_t kNoGeneration = 255;

const volatile std::uint8_t* attachGeneration(const ID_struct& row) {
    const key_t key = keyOf(row, row.ch);
    if (key == -1) {
        std::perror("vs_sem(ftok)");  // sic: the semaphores' text; required by the interface
        return nullptr;
    }
    const int id = shmget(key, 1, kPermissions);
    if (id == -1) {
        std::perror("idx(shmget)");
        return nullptr;
    }
    const void* const address = shmat(id, nullptr, 0);
    if (address == reinterpret_cast<void*>(-1)) {
        std::perror("idx(shmat)");
        return nullptr;
    }
    return static_cast<const volatile std::uint8_t*>(address);
}

}  // namespace

std::uint8_t get_shmidx(int index, const ID_struct* table) {
    // Another process changes the byte, hence volatile. KEPT: the table of the first successful
    // call decides for the whole process. Required by the interface.
    static const volatile std::uint8_t* generation = nullptr;
    if (generation == nullptr) generation = attachGeneration(table[index]);
    return generation != nullptr ? *generation : kNoGeneration;
}

// ---- Looking at a segment ----

namespace {

ShmView attachToRead(key_t key) {
    ShmView view;
    view.id = key != -1 ? shmget(key, 0, 0) : -1;
    shmid_ds info{};
    if (view.id == -1 || shmctl(view.id, IPC_STAT, &info) == -1) {
        view.error = errno;
        return view;
    }
    const void* const address = shmat(view.id, nullptr, SHM_RDONLY);
    if (address == reinterpret_cast<void*>(-1)) {
        view.error = errno;
        return view;
    }
    view.address.reset(address);
    view.size = info.shm_segsz;
    return view;
}

}  // namespace

std::uint8_t ShmGeneration() {
    const ID_struct& row = ID_mas[static_cast<std::size_t>(kGenerationIpcIndex)];
    const ShmView view = attachToRead(keyOf(row, row.ch));
    return view.address ? *static_cast<const std::uint8_t*>(view.address.get()) : kNoGeneration;
}

ShmView ShmOpenReadOnly(int index) {
    if (index < 0 || index >= kIpcIndexCount) return {.address = {}, .error = EINVAL};
    const ID_struct& row = ID_mas[static_cast<std::size_t>(index)];
    if (row.ch != '*') return attachToRead(keyOf(row, row.ch));
    return attachToRead(keyOf(row, symb[(static_cast<unsigned>(index) + ShmGeneration()) & 0xFFU]));
}
