#pragma once

#include "lib/util/ipc_objects.h"
#include "lib/util/veskpath.h"
#include "tests/support/basics.h"

/// An installation folder of its own with all key files, set as VESKPATH for this process (SRV_Path
/// included) and the ones it starts. At its end VESKPATH is unset, and every segment, semaphore and
/// queue that was made meanwhile is removed, whichever process made it: the sandbox has no others.
class VeskPath {
  public:
    VeskPath() {
        std::string pattern = (std::filesystem::temp_directory_path() / "vesk.XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
        folder_ = pattern;
        for (const char* name :
             {"proxy", "vskontr", "rezerv", "udpvesk", "sim", "sigsim", "cm", "show"})
            std::ofstream(file(name)) << '\n';
        setenv("VESKPATH", folder_.c_str(), 1);
        SRV_Path.InitPathes();
    }
    ~VeskPath() {
        forEachObject(IpcRemove);
        unsetenv("VESKPATH");
        SRV_Path.InitPathes();
        std::error_code ignored;  // a leftover folder below the temporary one harms nobody
        std::filesystem::remove_all(folder_, ignored);
    }
    VeskPath(const VeskPath&) = delete;
    VeskPath& operator=(const VeskPath&) = delete;

    const std::filesystem::path& folder() const { return folder_; }
    std::filesystem::path file(const std::string& name) const { return folder_ / name; }

    /// A key written out by hand: project character, device and inode of the key file.
    key_t key(const std::string& name, unsigned char project) const {
        struct stat info {};
        if (stat(file(name).c_str(), &info) != 0) throw std::runtime_error("no key file " + name);
        return static_cast<key_t>((std::uint32_t{project} << 24U) |
                                  (static_cast<std::uint32_t>(info.st_dev & 0xFFU) << 16U) |
                                  static_cast<std::uint32_t>(info.st_ino & 0xFFFFU));
    }

    /// Segments, semaphore sets and queues that were made meanwhile and can still be found.
    std::size_t objectCount() const {
        std::size_t count = 0;
        forEachObject([&count](IpcKind, int) { ++count; });
        return count;
    }

    /// The permissions of those of a kind, in the order of their ids, as octal digits, each with a
    /// blank after it.
    std::string permissions(IpcKind kind) const {
        std::string all;
        for (const auto& [object, permissions] : existing())
            if (object.first == kind && !former_.contains(object)) all += permissions + ' ';
        return all;
    }

  private:
    using Objects = std::map<std::pair<IpcKind, int>, std::string>;  // permissions by kernel id
    static Objects existing() {
        Objects objects;
        for (const auto& [kind, name] : {std::pair(IpcKind::segment, "shm"),
                                         {IpcKind::semaphore, "sem"},
                                         {IpcKind::queue, "msg"}}) {
            std::ifstream list(std::string("/proc/sysvipc/") + name);
            for (std::string line; std::getline(list, line);) {
                std::istringstream fields(line);
                key_t key = 0;
                int id = 0;
                std::string mode;
                // Headings contain no numbers, and a segment that waits for its last detach has no
                // key. Beside the permissions the mode has bits of the kernel.
                if (fields >> key >> id >> mode && key != 0)
                    objects[{kind, id}] = mode.substr(mode.size() - 3);
            }
        }
        return objects;
    }
    template <class Use>
    void forEachObject(Use use) const {
        for (const auto& [object, permissions] : existing())
            if (former_.count(object) == 0) use(object.first, object.second);
    }

    const Objects former_ = existing();
    std::filesystem::path folder_;
};
