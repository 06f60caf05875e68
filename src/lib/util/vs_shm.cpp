#include "lib/util/vs_shm.h"

#include <sys/ipc.h>
#include <sys/shm.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "lib/util/shmem.h"

int findpid(int pid) {
    return kill(pid, 0) == 0 || errno == EPERM ? 0 : -1;
}

// ---- The segment ----

namespace {

constexpr unsigned kRegistryPerm = 0666;
constexpr int kGenerationPerm = 0777;
constexpr std::size_t kRegistryBytes = kRegistryEntries * sizeof(buf_str);
static_assert(kRegistryBytes == 1600);

// Null when attaching failed; errno says why.
void* attachOrNull(int id) {
    void* const address = shmat(id, nullptr, 0);
    return address == reinterpret_cast<void*>(-1) ? nullptr : address;
}

}  // namespace

vs_shm::vs_shm(int index) : vs_sem(index, kRegistryPerm) {
    constexpr int kFlags = IPC_CREAT | static_cast<int>(kRegistryPerm);
    id_shm = shmget(sem_key, kRegistryBytes, kFlags | IPC_EXCL);
    cr_mem = id_shm != -1 ? 1 : 0;
    if (cr_mem == 0) id_shm = shmget(sem_key, kRegistryBytes, kFlags);
    if (id_shm == -1) {
        std::perror("vs_shm(shmget)");
        return;
    }
    buf_names = static_cast<buf_str*>(attachOrNull(id_shm));
    // The maker must not clear it: a new segment is zeroed, and others may already have joined it.
    if (buf_names == nullptr) std::perror("vs_shm(shmat)");
}

vs_shm::~vs_shm() {
    static_cast<void>(ShmClose(buf_names));  // attached by this object or null: cannot fail
    if (ptr_shmidx != nullptr) {
        static_cast<void>(ShmClose(const_cast<const std::uint8_t*>(ptr_shmidx)));  // likewise
        ptr_shmidx = nullptr;
    }
    if (cr_mem == 0) return;
    if (shmctl(id_shm, IPC_RMID, nullptr) == -1) std::perror("vs_shm(shmctl)");
    // KEPT: an object that never set the generation byte also tries, and reports the failure.
    // Required by the interface.
    if (shmctl(id_shmidx, IPC_RMID, nullptr) == -1) std::perror("vs_shm(shmctl)");
}

int vs_shm::set_shmidx(int index, std::uint8_t value) {
    const key_t key = SemKey(index);
    if (key == -1) std::perror("vs_sem(ftok)");
    const int id = shmget(key, 1, IPC_CREAT | kGenerationPerm);
    if (id == -1) {
        std::perror("idx(shmget)");
        return -1;
    }
    void* const address = attachOrNull(id);
    if (address == nullptr) {
        std::perror("idx(shmat)");
        return -1;
    }
    static_cast<void>(ShmClose(const_cast<const std::uint8_t*>(ptr_shmidx)));  // of an earlier call
    id_shmidx = id;
    ptr_shmidx = static_cast<volatile std::uint8_t*>(address);
    *ptr_shmidx = value;
    return 0;
}

// ---- The names ----

namespace {

bool isFree(const buf_str& entry) {
    return entry.name[0] == '\0';
}

// Other programs write the entries: a name without a terminator ends with its field.
std::string_view nameOf(const buf_str& entry) {
    return {entry.name, strnlen(entry.name, sizeof entry.name)};
}

}  // namespace

int vs_shm::name_find(const char* name) {
    if (buf_names == nullptr || *name == '\0') return -1;
    for (int i = 0; i < kRegistryEntries; ++i) {
        buf = &buf_names[i];
        if (nameOf(*buf) != name) continue;
        const int pid = buf->pid;
        if (findpid(pid) == 0) return pid;
        pid_del(pid);
        // KEPT: the scan resumes at entry 1, so a live holder that moved up to entry 0 is not seen.
        // Required by the interface.
        i = 0;
    }
    return -1;
}

int vs_shm::name_add(const char* name, int pid) {
    const std::size_t length = std::strlen(name);
    if (length == 0 || length > kRegistryNameMax) {
        std::fprintf(stderr, "vs_shm: name \"%s\" refused: %zu bytes, 1 to %zu fit\n", name, length,
                     kRegistryNameMax);
        return -1;
    }
    if (buf_names == nullptr || name_find(name) != -1) return -1;
    buf_str entry{pid != 0 ? pid : getpid(), {}};
    std::memcpy(entry.name, name, length);

    const SemLock lock(*this);
    for (int i = 0; i < kRegistryEntries; ++i) {
        buf = &buf_names[i];
        if (!isFree(*buf)) continue;
        *buf = entry;
        return entry.pid;
    }
    return -1;
}

// Closes the gap at `freed`, up to and with the first free entry.
// KEPT: nothing follows the last entry, so in a full registry it stays and is there twice
// afterwards. Required by the interface.
void vs_shm::shiftUp(int freed) {
    for (int i = freed + 1; i < kRegistryEntries; ++i) {
        buf_names[i - 1] = buf_names[i];
        if (isFree(buf_names[i - 1])) return;
    }
}

template <class Matches>
int vs_shm::deleteEntries(Matches matches) {
    if (buf_names == nullptr) return 0;
    const SemLock lock(*this);
    const auto found = [&](int i) { return !isFree(buf_names[i]) && matches(buf_names[i]); };

    // Shifting cannot remove a match in the last entry, which has no successor, and would never
    // end. Such entries at the end of the table are cleared in place.
    int lastPid = 0;
    for (int i = kRegistryEntries - 1; i >= 0 && found(i); --i) {
        if (lastPid == 0) lastPid = buf_names[i].pid;
        buf_names[i] = buf_str{};
    }
    const int pidAtEnd = lastPid;
    for (int i = 0; i < kRegistryEntries; ++i) {
        buf = &buf_names[i];
        while (found(i)) {
            lastPid = buf->pid;
            shiftUp(i);
        }
    }
    return pidAtEnd != 0 ? pidAtEnd : lastPid;
}

int vs_shm::pid_del(int pid) {
    return deleteEntries([pid](const buf_str& entry) { return entry.pid == pid; });
}

int vs_shm::name_del(const char* name) {
    return deleteEntries([name](const buf_str& entry) { return nameOf(entry) == name; });
}
