#include "fuzz/support/ipc_in_process.h"

#include <iterator>

#include "lib/util/ipc_objects.h"
#include "lib/util/qnx_calls.h"
#include "lib/util/shmem.h"
#include "lib/util/vs_sem.h"
#include "sim/layout/attribute_files.h"

// After the libraries' table of folders, before objects without a priority: the server's own
// database object attaches the counts when it is constructed.
[[gnu::init_priority(201)]] Controller controller;

void describeAttributes() {
    std::filesystem::create_directories("/zrt/system");
    std::ofstream("/zrt/system/offatrs.dat") << sim::offsetFile();
    std::ofstream("/zrt/system/atributs.dat") << sim::kindFile();
}

void overwrite(FuzzedDataProvider& in) {
    auto& segments = controller.segments;
    auto& bytes = std::next(segments.begin(),
                            in.ConsumeIntegralInRange<std::ptrdiff_t>(0, std::ssize(segments) - 1))
                      ->second;
    if (bytes.empty()) return;
    const auto offset = in.ConsumeIntegralInRange<std::size_t>(0, bytes.size() - 1);
    const std::size_t most = in.ConsumeIntegral<std::uint8_t>();
    in.ConsumeData(bytes.data() + offset, std::min(most, bytes.size() - offset));
}

// ---- lib/util/shmem.h ----

key_t ShmKey(int index, char /*debug*/) {
    return index + 1;  // with the key 0 nothing would be found
}

void* ShmOpen(int index, std::size_t size, unsigned mode, int* id_out, char /*debug*/) {
    const auto found = controller.segments.find(index);
    if (found == controller.segments.end() && (mode == 0 || size == 0)) return nullptr;
    auto& segment = controller.segments[index];
    if (found == controller.segments.end()) segment = std::vector<std::uint8_t>(size);
    if (segment.size() < size || segment.empty()) return nullptr;
    if (id_out != nullptr) *id_out = index;
    return segment.data();
}

int ShmClose(const void* /*address*/) {
    return 0;
}

int ShmRemove(int id) {
    return controller.segments.erase(id) == 1 ? 0 : -1;
}

// ---- lib/util/ipc_objects.h ----

std::optional<IpcObject> IpcFind(IpcKind kind, key_t key) {
    const auto found = controller.segments.find(key - 1);
    if (kind != IpcKind::segment || found == controller.segments.end()) return std::nullopt;
    return IpcObject{kind, key, found->first, 0, 0, found->second.size(), 1, 0};
}

// ---- lib/util/vs_sem.h ----

vs_sem::vs_sem(int index, unsigned perm)
    : sem_perm(perm), cr_sem(controller.semaphoreIsNew ? 1 : 0), sem_key(index + 1) {}
vs_sem::~vs_sem() = default;
void vs_sem::sem_lock() {}
void vs_sem::sem_unlock() {}

// ---- lib/util/qnx_calls.h ----

int qnx_name_locate(int /*node*/, const char* /*name*/, unsigned int /*size*/,
                    unsigned int* /*copies*/) {
    return 1;
}

int Send(int /*pid*/, void* /*smsg*/, void* rmsg, unsigned int /*ssize*/, unsigned int rsize) {
    if (controller.replies.empty() || rsize < sizeof(DB_REPLY)) return -1;
    std::memcpy(rmsg, &controller.replies.front(), sizeof(DB_REPLY));
    controller.replies.pop_front();
    return 0;
}

void delay(unsigned int /*ms*/) {}
