#include "sim/site/site.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ostream>
#include <utility>

#include "lib/rolling2/rol_shared.h"
#include "lib/util/ipc_objects.h"
#include "lib/util/shmem.h"
#include "lib/util/vs_sem.h"
#include "lib/util/vs_shm.h"
#include "sim/failure.h"
#include "sim/layout/types.h"
#include "sim/site/ipc_names.h"

namespace sim {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void failedOn(const char* what, const fs::path& path) {
    throw Failure(ExitCode::failed,
                  std::string(what) + " " + path.string() + ": " + std::strerror(errno));
}

/// The process that holds the database's name in an existing registry; 0 when there is none. Reads
/// the segment itself, because joining the registry would create a missing one. It only reads,
/// because ordinary users may not do more with the controller's registry.
pid_t databaseHolder() {
    const ShmView registry = ShmOpenReadOnly(kRegistryIndex);
    if (registry.size < sizeof(buf_str) * kRegistryEntries) return 0;
    const auto* entries = static_cast<const buf_str*>(registry.address.get());
    for (int i = 0; i < kRegistryEntries; ++i) {
        if (std::strncmp(entries[i].name, kDatabaseName, sizeof entries[i].name) != 0) continue;
        if (findpid(entries[i].pid) == 0) return entries[i].pid;
    }
    return 0;
}

}  // namespace

Site::Site(Folders folders, std::ostream& out)
    : folders_(std::move(folders)), out_(out), record_(folders_.record()) {}

Site::~Site() {
    leave();
}

// ---- taking possession ---------------------------------------------------------------------

void Site::enter(bool fresh) {
    if (!fs::is_directory(folders_.root)) {
        throw Failure(ExitCode::failed,
                      "каталога " + folders_.root.string() +
                          " нет. Создайте его, задайте другой в переменной VESKPATH или запустите "
                          "программу в частном корне: ./demo");
    }
    const Record::Lock lock = record_.takeOver();
    if (lock == Record::Lock::busy) {
        throw Failure(ExitCode::controller,
                      "в каталоге " + folders_.root.string() +
                          " уже работает другой zrtsim. Остановите его (Ctrl-C или SIGTERM).");
    }
    if (lock == Record::Lock::failed) failedOn("не читается запись", folders_.record());
    refuseLiveController();
    refuseForeign(fresh);
    if (lock == Record::Lock::absent) lockRecord();
    entered_ = true;
    removeLeftObjects();
    removeLeftFiles(fresh);
    if (!record_.noteOwner(::getpid())) failedOn("не пишется запись", folders_.record());
}

void Site::lockRecord() {
    const Record::Lock lock = record_.create();
    if (lock == Record::Lock::held) return;
    if (lock == Record::Lock::failed) failedOn("не создаётся запись", folders_.record());
    throw Failure(ExitCode::controller, "в каталоге " + folders_.root.string() +
                                            " в эту же секунду запускается другой zrtsim.");
}

/// We hold the lock on the record here, so a registry that the record lists belongs to a run that
/// has ended: if its process id exists, another program has it now.
void Site::refuseLiveController() const {
    const pid_t holder = databaseHolder();
    if (holder == 0) return;
    const auto registry = IpcFind(IpcKind::segment, SemKey(kRegistryIndex));
    const bool stale =
        registry && record_.contents().owns(*registry) && (holder == record_.contents().owner);
    if (stale) return;
    throw Failure(ExitCode::controller,
                  "здесь работает контроллер: имя \"VsBASE\" держит процесс " +
                      std::to_string(holder) +
                      ". zrtsim не запускается рядом с настоящим контроллером. Для имитации "
                      "используйте другую машину или частный корень: ./demo");
}

std::vector<std::string> Site::foreignFiles() const {
    std::vector<fs::path> files = folders_.keyFiles;
    files.insert(files.end(), {folders_.offsetFile(), folders_.kindFile(), folders_.controllerIni(),
                               folders_.serverIni(), folders_.trendsIni()});
    for (const fs::path& file : folders_.savedFiles) {
        if (record_.contents().saved.contains(file)) continue;
        files.push_back(file);
        for (const fs::path& beside : Folders::besideSaved(file)) {
            files.push_back(beside);
        }
    }
    std::vector<std::string> found;
    for (const fs::path& file : files) {
        std::error_code ignored;
        if (fs::exists(fs::symlink_status(file, ignored)) &&
            !record_.contents().files.contains(file)) {
            found.push_back("файл " + file.string());
        }
    }
    return found;
}

/// Checks only keys that do not depend on the generation byte: a process that made a controller's
/// objects has also made the registry, its queues and the generation byte. The other keys are
/// checked when the generation is set.
std::vector<std::string> Site::foreignObjects() const {
    std::vector<std::string> found;
    for (int index = 0; index < kIpcIndexCount; ++index) {
        const ID_struct& row = ID_mas[static_cast<std::size_t>(index)];
        const bool literal = row.ch != '*' || index == kRolSemaphore;
        if (row.file[0] == '\0' || !literal) continue;
        for (const IpcObject& object : objectsAt(SemKey(index))) {
            if (!record_.contents().owns(object)) found.push_back(describe(object, index));
        }
    }
    return found;
}

void Site::refuseForeign(bool fresh) const {
    std::vector<std::string> reasons = foreignFiles();
    for (std::string& object : foreignObjects()) {
        reasons.push_back(std::move(object));
    }
    for (const auto& [file, print] : record_.contents().files) {
        const auto bytes = readFile(file);
        const bool edited = print && bytes && fingerprintOf(*bytes) != *print;
        if (edited && !fresh && !folders_.isSetting(file)) {
            reasons.push_back("файл " + file.string() +
                              " изменён после того, как его создал zrtsim (ключ --fresh создаёт "
                              "его заново)");
        }
    }
    if (reasons.empty()) return;
    std::string text = "здесь лежит то, чего zrtsim не создавал:\n";
    for (const std::string& reason : reasons) {
        text += "    " + reason + "\n";
    }
    text +=
        "Если это остатки, уберите их (файлы: mv, объекты System V: ipcrm -M, -S, -Q с указанным "
        "ключом). Своя конфигурация сервера передаётся ключом --config. Если это настоящий "
        "контроллер, запускайте zrtsim на другой машине.";
    throw Failure(ExitCode::foreign, text);
}

// ---- what a killed run left ----------------------------------------------------------------

void Site::removeLeftObjects() {
    std::size_t removed = 0;
    for (const IpcMark& mark : record_.contents().ipc) {
        const auto object = IpcFind(mark.kind, mark.key);
        if (!object || !record_.contents().owns(*object)) continue;
        if (IpcRemove(object->kind, object->id) != 0) {
            throw Failure(ExitCode::failed,
                          "не удаляется " + describe(*object, -1) + ": " + std::strerror(errno));
        }
        ++removed;
        if (object->attached > 0 && mark.key == SemKey(kRegistryIndex)) {
            out_ << "К прежнему реестру имён ещё подключены процессы (" << object->attached
                 << "): перезапустите их.\n";
        }
    }
    if (removed > 0) {
        out_ << "Удалены объекты System V, оставшиеся от прерванного запуска: " << removed << ".\n";
    }
}

void Site::removeLeftFiles(bool fresh) {
    const auto files = record_.contents().files;  // a copy: forgetting changes the original
    for (const auto& [file, print] : files) {
        const auto bytes = readFile(file);
        const bool edited = print && bytes && fingerprintOf(*bytes) != *print;
        if (edited && !fresh && folders_.isSetting(file)) {
            edited_.push_back(file);
            continue;
        }
        if (::unlink(file.c_str()) != 0 && errno != ENOENT) failedOn("не удаляется", file);
        if (!record_.forgetFile(file)) failedOn("не пишется запись", folders_.record());
    }
    if (fresh) removeSavedFiles();
}

void Site::removeSavedFiles() {
    const auto saved = record_.contents().saved;  // a copy: forgetting changes the original
    for (const fs::path& file : saved) {
        std::vector<fs::path> files = Folders::besideSaved(file);
        files.push_back(file);
        for (const fs::path& each : files) {
            if (::unlink(each.c_str()) != 0 && errno != ENOENT) failedOn("не удаляется", each);
        }
        if (!record_.forgetFile(file)) failedOn("не пишется запись", folders_.record());
    }
}

// ---- making and removing -------------------------------------------------------------------

void Site::makeFoldersAndKeyFiles() {
    for (const fs::path& folder : folders_.all) {
        if (fs::is_directory(folder)) continue;
        constexpr mode_t kMode = 0755;
        if (!record_.noteDirectory(folder) || ::mkdir(folder.c_str(), kMode) != 0) {
            failedOn("не создаётся каталог", folder);
        }
    }
    for (const fs::path& file : folders_.keyFiles) {
        makeFile(file, "Файл ключа System V имитатора контроллера (zrtsim).\n");
    }
}

void Site::makeFile(const fs::path& file, const std::string& bytes) {
    constexpr mode_t kMode = 0644;
    if (!record_.noteFile(file, std::nullopt)) failedOn("не пишется запись", folders_.record());
    const int descriptor = ::open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kMode);
    if (descriptor < 0) {
        const int error = errno;
        // Another program made it after the check: it must not stay noted as ours.
        if (error == EEXIST) static_cast<void>(record_.forgetFile(file));
        errno = error;
        failedOn("не создаётся файл", file);
    }
    const ssize_t written = ::write(descriptor, bytes.data(), bytes.size());
    const bool closed = ::close(descriptor) == 0;
    if (written != static_cast<ssize_t>(bytes.size()) || !closed) failedOn("не пишется", file);
    if (!record_.noteFile(file, fingerprintOf(bytes))) {
        failedOn("не пишется запись", folders_.record());
    }
}

void Site::adoptSavedFile(const fs::path& file) {
    if (record_.contents().saved.contains(file)) return;
    if (fs::exists(fs::symlink_status(file))) {
        throw Failure(ExitCode::foreign, "файл " + file.string() + " создан не zrtsim");
    }
    if (!record_.noteSaved(file)) failedOn("не пишется запись", folders_.record());
}

bool Site::keepsEdited(const fs::path& file) const {
    return std::find(edited_.begin(), edited_.end(), file) != edited_.end();
}

void Site::leave() {
    if (!entered_) return;
    entered_ = false;
    const auto files = record_.contents().files;
    for (const auto& [file, print] : files) {
        const auto bytes = readFile(file);
        if (bytes && print && fingerprintOf(*bytes) != *print) {
            out_ << "Файл " << file.string()
                 << " изменён после создания и оставлен; следующий запуск возьмёт его.\n";
            continue;
        }
        if (::unlink(file.c_str()) != 0 && errno != ENOENT) {
            out_ << "Не удаляется файл " << file.string() << ": " << std::strerror(errno) << "\n";
            continue;
        }
        static_cast<void>(record_.forgetFile(file));  // finish rewrites the record
    }
    tellSavedFiles();
    removeFolders();
    record_.finish();
}

void Site::tellSavedFiles() {
    const auto saved = record_.contents().saved;
    std::string left;
    for (const fs::path& file : saved) {
        std::error_code ignored;
        if (fs::exists(file, ignored)) {
            left += " " + file.string();
        } else {
            static_cast<void>(record_.forgetFile(file));
        }
    }
    if (left.empty()) return;
    out_ << "Оставлено следующему запуску (ключ --fresh это удалит):" << left << "\n";
}

void Site::removeFolders() {
    const auto& folders = record_.contents().directories;
    std::string left;
    for (auto folder = folders.rbegin(); folder != folders.rend(); ++folder) {
        if (::rmdir(folder->c_str()) != 0 && errno == ENOTEMPTY) left += " " + folder->string();
    }
    if (!left.empty()) out_ << "Не пусты и потому оставлены каталоги:" << left << "\n";
}

}  // namespace sim
