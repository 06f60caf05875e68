#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>

#include "lib/util/veskpath.h"
#include "site/folders.h"

/// An empty installation folder of its own, for this process and its children: every folder of the
/// controller lies below it. At the end the environment is as before and the folder is gone.
class TemporarySite {
  public:
    TemporarySite() {
        std::string pattern = (std::filesystem::temp_directory_path() / "sim.XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
        root_ = pattern;
        for (const auto& [name, below] : kFolders)
            setenv(name, (root_.string() + below).c_str(), 1);
        SRV_Path.InitPathes();
    }
    ~TemporarySite() {
        for (const auto& folder : kFolders)
            unsetenv(folder.variable);
        SRV_Path.InitPathes();
        std::error_code ignored;  // a leftover folder below the temporary one harms nobody
        std::filesystem::remove_all(root_, ignored);
    }
    TemporarySite(const TemporarySite&) = delete;
    TemporarySite& operator=(const TemporarySite&) = delete;

    std::filesystem::path path(const std::string& name) const { return root_ / name; }

    void write(const std::string& name, const std::string& text) const {
        std::filesystem::create_directories(path(name).parent_path());
        std::ofstream(path(name), std::ios::binary | std::ios::trunc) << text;
    }
    std::string read(const std::string& name) const {
        std::ifstream file(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    /// Paths of all files and folders, relative.
    std::set<std::string> entries() const {
        std::set<std::string> all;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(root_)) {
            all.insert(std::filesystem::relative(entry.path(), root_).string());
        }
        return all;
    }

  private:
    static constexpr struct {
        const char *variable, *below;
    } kFolders[] = {{"VESKPATH", ""}, {"PATHDB", "/sram"}, {"SYSTEM", "/system"},
                    {"LIB", "/lib"},  {"DIC", "/dic"},     {"SETTINGS", "/settings"}};

    std::filesystem::path root_;
};
