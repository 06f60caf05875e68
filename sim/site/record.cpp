#include "sim/site/record.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <sstream>

namespace sim {

namespace {

// One line for each note: a word, its fields, and a path as the rest of the line. Later lines
// overrule earlier ones.
constexpr const char* kHeader = "zrtsim-record 1\n";

std::string fileLine(const std::filesystem::path& file, const std::optional<Fingerprint>& print) {
    std::ostringstream line;
    if (print) {
        line << "file " << print->size << ' ' << print->hash << ' ';
    } else {
        line << "intent ";
    }
    line << file.string() << '\n';
    return line.str();
}

std::string directoryLine(const std::filesystem::path& directory) {
    return "directory " + directory.string() + "\n";
}

std::string savedLine(const std::filesystem::path& file) {
    return "saved " + file.string() + "\n";
}

}  // namespace

bool RecordContents::owns(const IpcObject& object) const {
    return std::any_of(ipc.begin(), ipc.end(), [&](const IpcMark& mark) {
        if (mark.kind != object.kind || mark.key != object.key) return false;
        if (mark.id == kMadeByAny) return object.changeTime >= mark.changeTime;
        if (mark.id == kNotMadeYet) {
            const bool ours = mark.kind != IpcKind::segment || object.creatorPid == owner;
            return ours && object.changeTime >= mark.changeTime;
        }
        return mark.id == object.id && mark.changeTime == object.changeTime;
    });
}

Record::~Record() {
    if (descriptor_ >= 0) static_cast<void>(::close(descriptor_));
}

Record::Lock Record::takeOver() {
    descriptor_ = ::open(file_.c_str(), O_RDWR | O_APPEND | O_CLOEXEC | O_NOFOLLOW);
    if (descriptor_ < 0) return errno == ENOENT ? Lock::absent : Lock::failed;
    const Lock lock = lockOpened();
    if (lock != Lock::held) return lock;
    const auto text = readFile(file_);
    if (!text || text->rfind(kHeader, 0) != 0) {
        // An empty file is left by a run that ended between making the record and its first line.
        if (text && text->empty()) return append(kHeader) ? Lock::held : Lock::failed;
        errno = EINVAL;
        return Lock::failed;
    }
    std::istringstream lines(*text);
    for (std::string line; std::getline(lines, line);) {
        parse(line);
    }
    return Lock::held;
}

Record::Lock Record::create() {
    constexpr mode_t kMode = 0644;
    descriptor_ = ::open(file_.c_str(), O_RDWR | O_APPEND | O_CREAT | O_EXCL | O_CLOEXEC, kMode);
    if (descriptor_ < 0) return errno == EEXIST ? Lock::busy : Lock::failed;
    const Lock lock = lockOpened();
    if (lock != Lock::held) return lock;
    return append(kHeader) ? Lock::held : Lock::failed;
}

bool Record::noteOwner(pid_t pid) {
    contents_.owner = pid;
    return append("owner " + std::to_string(pid) + "\n");
}

bool Record::noteDirectory(const std::filesystem::path& directory) {
    std::erase(contents_.directories, directory);
    contents_.directories.push_back(directory);
    return append(directoryLine(directory));
}

bool Record::noteFile(const std::filesystem::path& file,
                      const std::optional<Fingerprint>& fingerprint) {
    contents_.files[file] = fingerprint;
    return append(fileLine(file, fingerprint));
}

bool Record::noteSaved(const std::filesystem::path& file) {
    contents_.saved.insert(file);
    return append(savedLine(file));
}

namespace {

bool sameKeyAndKind(const IpcMark& a, const IpcMark& b) {
    return a.kind == b.kind && a.key == b.key;
}

}  // namespace

bool Record::noteIpc(const IpcMark& mark) {
    std::erase_if(contents_.ipc, [&](const IpcMark& old) { return sameKeyAndKind(old, mark); });
    contents_.ipc.push_back(mark);
    std::ostringstream line;
    line << "ipc " << static_cast<int>(mark.kind) << ' ' << mark.key << ' ' << mark.id << ' '
         << mark.changeTime << '\n';
    return append(line.str());
}

bool Record::forgetFile(const std::filesystem::path& file) {
    contents_.files.erase(file);
    contents_.saved.erase(file);
    return append("forget " + file.string() + "\n");
}

void Record::finish() {
    contents_.ipc.clear();
    std::erase_if(contents_.directories, [](const std::filesystem::path& directory) {
        std::error_code ignored;
        return !std::filesystem::is_directory(directory, ignored);
    });
    if (contents_.files.empty() && contents_.saved.empty()) {
        static_cast<void>(::unlink(file_.c_str()));
        return;
    }
    std::string text = kHeader;
    for (const auto& directory : contents_.directories) {
        text += directoryLine(directory);
    }
    for (const auto& [file, print] : contents_.files) {
        text += fileLine(file, print);
    }
    for (const auto& file : contents_.saved) {
        text += savedLine(file);
    }
    // A failure leaves the longer record, which is valid too.
    if (::ftruncate(descriptor_, 0) == 0) static_cast<void>(append(text));
}

/// The file may have been removed by its holder between our open and our lock. A lock on it is then
/// worthless, because nobody else can find it.
Record::Lock Record::lockOpened() {
    if (::flock(descriptor_, LOCK_EX | LOCK_NB) != 0) return Lock::busy;
    struct stat opened {};
    struct stat named {};
    const bool same = ::fstat(descriptor_, &opened) == 0 && ::stat(file_.c_str(), &named) == 0 &&
                      opened.st_ino == named.st_ino && opened.st_dev == named.st_dev;
    return same ? Lock::held : Lock::busy;
}

bool Record::append(const std::string& line) {
    const ssize_t written = ::write(descriptor_, line.data(), line.size());
    return written == static_cast<ssize_t>(line.size());
}

namespace {

/// The rest of a line after one blank.
std::filesystem::path restOf(std::istringstream& line) {
    std::string rest;
    line.get();
    std::getline(line, rest);
    return rest;
}

}  // namespace

void Record::parse(const std::string& text) {
    std::istringstream line(text);
    std::string word;
    line >> word;
    if (word == "owner") {
        line >> contents_.owner;
    } else if (word == "directory") {
        contents_.directories.push_back(restOf(line));
    } else if (word == "intent") {
        contents_.files[restOf(line)] = std::nullopt;
    } else if (word == "forget") {
        const auto file = restOf(line);
        contents_.files.erase(file);
        contents_.saved.erase(file);
    } else if (word == "saved") {
        contents_.saved.insert(restOf(line));
    } else if (word == "file") {
        Fingerprint print;
        line >> print.size >> print.hash;
        contents_.files[restOf(line)] = print;
    } else if (word == "ipc") {
        int kind = 0;
        IpcMark mark{};
        if (!(line >> kind >> mark.key >> mark.id >> mark.changeTime)) return;
        mark.kind = static_cast<IpcKind>(kind);
        std::erase_if(contents_.ipc, [&](const IpcMark& old) { return sameKeyAndKind(old, mark); });
        contents_.ipc.push_back(mark);
    }
}

}  // namespace sim
