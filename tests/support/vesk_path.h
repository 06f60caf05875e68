#pragma once

#include <sys/ipc.h>
#include <sys/msg.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/stat.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>

#include "lib/util/veskpath.h"

/// Names of the files that IPC keys are made from.
inline constexpr const char* kKeyFiles[] = {"proxy", "vskontr", "rezerv", "udpvesk",
                                            "sim",   "sigsim",  "cm",     "show"};

/// An installation folder of its own with all key files, set as VESKPATH for this process (SRV_Path
/// included) and the ones it starts. At the end VESKPATH is as before, and every segment, semaphore
/// and queue whose key belongs to one of the files is removed, whoever made it.
class VeskPath {
  public:
    VeskPath() {
        std::string pattern = (std::filesystem::temp_directory_path() / "vesk.XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
        folder_ = pattern;
        for (const char* name : kKeyFiles)
            std::ofstream(file(name)) << '\n';
        if (const char* former = std::getenv("VESKPATH")) former_ = former;
        use(folder_.c_str());
    }
    ~VeskPath() {
        removeObjects();
        use(former_.empty() ? nullptr : former_.c_str());
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

    /// Segments, semaphore sets and queues that now exist for the key files.
    std::size_t objectCount() const {
        std::size_t count = 0;
        forEachObject([&count](const char*, int) { ++count; });
        return count;
    }

  private:
    static void use(const char* folder) {
        if (folder != nullptr) {
            setenv("VESKPATH", folder, 1);
        } else {
            unsetenv("VESKPATH");
        }
        SRV_Path.InitPathes();
    }

    std::set<std::uint32_t> keysWithoutProject() const {
        std::set<std::uint32_t> keys;
        for (const char* name : kKeyFiles) {
            if (std::filesystem::exists(file(name))) {
                keys.insert(static_cast<std::uint32_t>(key(name, 0)));
            }
        }
        return keys;
    }

    template <class Use>
    void forEachObject(Use use) const {
        const auto ours = keysWithoutProject();
        for (const char* kind : {"shm", "sem", "msg"}) {
            std::ifstream list(std::string("/proc/sysvipc/") + kind);
            std::string line;
            std::getline(list, line);  // headings
            while (std::getline(list, line)) {
                std::istringstream fields(line);
                key_t objectKey = 0;
                int id = 0;
                fields >> objectKey >> id;
                const std::uint32_t low = static_cast<std::uint32_t>(objectKey) & 0xFFFFFFU;
                // The reply queue's key is one above the request queue's.
                if (ours.count(low) != 0 || ours.count(low - 1) != 0) use(kind, id);
            }
        }
    }

    void removeObjects() const {
        forEachObject([](const char* kind, int id) {
            switch (kind[1]) {
                case 'h':
                    shmctl(id, IPC_RMID, nullptr);
                    break;
                case 'e':
                    semctl(id, 0, IPC_RMID);
                    break;
                default:
                    msgctl(id, IPC_RMID, nullptr);
                    break;
            }
        });
    }

    std::filesystem::path folder_;
    std::string former_;
};
