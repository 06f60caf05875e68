#include "sim/memory/controller_ipc.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <string>
#include <utility>

#include "lib/rolling2/rol_shared.h"
#include "lib/util/vs_sem.h"
#include "sim/failure.h"
#include "sim/layout/little_endian.h"
#include "sim/site/ipc_names.h"

namespace sim {

namespace {

constexpr unsigned kCreate = 64;  // any mode but 0 makes ShmOpen create

/// An index may have keys in both tables; the registry's key is used by three kinds of objects, and
/// the next key by the reply queue.
std::vector<std::pair<key_t, int>> allKeys() {
    std::vector<std::pair<key_t, int>> keys;
    for (int index = 0; index < kIpcIndexCount; ++index) {
        for (const char debug : {char{0}, char{1}}) {
            const auto& table = debug != 0 ? Debug_ID_mas : ID_mas;
            if (table[static_cast<std::size_t>(index)].file[0] == '\0') continue;
            keys.emplace_back(ShmKey(index, debug), index);
        }
    }
    keys.emplace_back(SemKey(kRolSemaphore), kRolSemaphore);
    return keys;
}

}  // namespace

ControllerIpc::ControllerIpc(Record& record, std::uint8_t generation) : record_(record) {
    try {
        makeChannel(generation);
        expectJournal();
        refuseTakenKeys();
    } catch (...) {
        removeObjects();
        throw;
    }
}

ControllerIpc::~ControllerIpc() {
    removeObjects();
}

void ControllerIpc::makeChannel(std::uint8_t generation) {
    const key_t registry = SemKey(kRegistryIndex);
    const key_t byte = SemKey(kGenerationIndex);
    intend(IpcKind::segment, registry);
    intend(IpcKind::semaphore, registry);
    intend(IpcKind::queue, registry);
    intend(IpcKind::queue, registry + 1);
    intend(IpcKind::segment, byte);
    channel_ = std::make_unique<vs_obj>();
    const bool ok = channel_->cr_mem != 0 && channel_->cr_sem != 0 && channel_->crSRR != 0 &&
                    channel_->RS_id != -1 &&
                    channel_->set_shmidx(kGenerationIndex, generation) == 0;
    if (!ok) {
        throw Failure(ExitCode::failed,
                      "реестр имён и очереди сообщений не создаются (причина выше)");
    }
    made(IpcKind::segment, registry);
    made(IpcKind::semaphore, registry);
    made(IpcKind::queue, registry);
    made(IpcKind::queue, registry + 1);
    made(IpcKind::segment, byte);
}

/// Notes the journal's objects before this process joins it, whichever process makes them: a server
/// that is restarted again and again may be first, even between two runs.
void ControllerIpc::expectJournal() {
    for (const int index : kRolOwnSegments) {
        note({IpcKind::segment, ShmKey(index, 0), kMadeByAny, std::time(nullptr)});
    }
    note({IpcKind::semaphore, SemKey(kRolSemaphore), kMadeByAny, std::time(nullptr)});
}

void ControllerIpc::refuseTakenKeys() const {
    std::string taken;
    for (const auto& [key, index] : allKeys()) {
        for (const IpcObject& object : objectsAt(key)) {
            if (!record_.contents().owns(object)) taken += "    " + describe(object, index) + "\n";
        }
    }
    if (taken.empty()) return;
    throw Failure(ExitCode::foreign,
                  "ключи контроллера заняты тем, чего zrtsim не создавал:\n" + taken +
                      "Остановите программы, которые это создали, и удалите остатки: ipcrm -M "
                      "(сегмент), -S (семафор), -Q (очередь) с указанным ключом.");
}

DatabaseMemory ControllerIpc::makeDatabase(const Counts& counts) {
    std::byte* countsTable = makeSegment(kCountsIndex, kCountsSize);
    DatabaseMemory memory;
    std::size_t records = 0;
    for (const TypeLayout& type : kTypes) {
        const std::size_t i = indexOf(type.type);
        const std::size_t count = counts[i];
        TypeMemory& arrays = memory.types[i];
        arrays.count = counts[i];
        if (count > 0) {
            arrays.passport =
                makeSegment(type.passport.ipcIndex, count * type.passport.elementSize);
            arrays.data = makeSegment(type.data.ipcIndex, count * type.data.elementSize);
            arrays.value = makeSegment(type.value.ipcIndex, count * type.value.elementSize);
        }
        if (i < kMainTypeCount) {
            store(countsTable + 2 * i, counts[i]);
            records += count;
        }
    }
    memory.timeQuality = makeSegment(kTimeQualityIndex, records * TimeQualityLayout::kSize);
    return memory;
}

void ControllerIpc::announce() {
    if (channel_->name_add(kDatabaseName, 0) == -1) {
        throw Failure(ExitCode::controller, "имя \"VsBASE\" занял другой процесс");
    }
}

std::byte* ControllerIpc::makeSegment(int index, std::size_t size) {
    if (size == 0) return nullptr;
    const key_t key = ShmKey(index, 0);
    if (IpcFind(IpcKind::segment, key)) {
        throw Failure(ExitCode::foreign,
                      "сегмент с индексом " + std::to_string(index) + " уже создан кем-то другим");
    }
    intend(IpcKind::segment, key);
    ShmPtr address(ShmOpen(index, size, kCreate, nullptr, 0));
    if (!address) {
        throw Failure(ExitCode::failed,
                      "сегмент с индексом " + std::to_string(index) + " на " +
                          std::to_string(size) +
                          " байт не создаётся; предел системы показывает ipcs -l");
    }
    made(IpcKind::segment, key);
    attached_.push_back(std::move(address));
    return static_cast<std::byte*>(attached_.back().get());
}

void ControllerIpc::note(const IpcMark& mark) {
    if (mark.key != -1 && record_.noteIpc(mark)) return;
    throw Failure(ExitCode::failed,
                  std::string("ключ или запись о нём не создаётся: ") + std::strerror(errno));
}

void ControllerIpc::intend(IpcKind kind, key_t key) {
    note({kind, key, kNotMadeYet, std::time(nullptr)});
}

void ControllerIpc::made(IpcKind kind, key_t key) {
    const auto object = IpcFind(kind, key);
    if (object && record_.noteIpc({kind, key, object->id, object->changeTime})) return;
    throw Failure(ExitCode::failed, "объект System V исчез сразу после создания");
}

/// Removes the name first, so that readers stop asking. The channel removes its own objects; then
/// everything else in the record is removed.
void ControllerIpc::removeObjects() {
    if (channel_) static_cast<void>(channel_->pid_del(::getpid()));
    attached_.clear();
    channel_.reset();
    for (const IpcMark& mark : record_.contents().ipc) {
        const auto object = IpcFind(mark.kind, mark.key);
        if (object && record_.contents().owns(*object)) {
            static_cast<void>(IpcRemove(object->kind, object->id));
        }
    }
}

}  // namespace sim
