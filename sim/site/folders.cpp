#include "sim/site/folders.h"

#include <algorithm>
#include <string>

#include "lib/util/shmem.h"
#include "lib/util/veskpath.h"

namespace sim {

namespace {

void addWithParents(const std::filesystem::path& folder, const std::filesystem::path& root,
                    std::vector<std::filesystem::path>& to) {
    if (folder.empty() || folder == root || folder == folder.root_path()) return;
    addWithParents(folder.parent_path(), root, to);
    if (std::find(to.begin(), to.end(), folder) == to.end()) to.push_back(folder);
}

std::vector<std::filesystem::path> keyFilesBelow(const std::string& root) {
    std::vector<std::filesystem::path> files;
    for (const IdTable* table : {&ID_mas, &Debug_ID_mas}) {
        for (const ID_struct& row : *table) {
            if (row.file[0] == '\0') continue;
            const std::filesystem::path file = root + row.file;
            if (std::find(files.begin(), files.end(), file) == files.end()) files.push_back(file);
        }
    }
    return files;
}

}  // namespace

Folders controllerFolders() {
    Folders folders;
    folders.root = SRV_Path.VESKPATH;
    folders.system = SRV_Path.SYSTEM;
    folders.settings = SRV_Path.SETTINGS;
    const std::filesystem::path data = SRV_Path.PATHDB;
    for (const auto& folder :
         {folders.root / "log", folders.trendArchive().parent_path(), folders.system,
          folders.settings, std::filesystem::path(SRV_Path.LIB),
          std::filesystem::path(SRV_Path.DIC), data / "dat", data / "rezerv", data / "check"}) {
        addWithParents(folder, folders.root, folders.all);
    }
    folders.savedFiles.push_back(folders.trendArchive());
    for (const char* file : {"dat/rolling2.dat", "dat/cntroll2.dat", "check/chk_rol2.dat",
                             "rezerv/rolling2.dat", "rezerv/cntroll2.dat", "check/chk_rol2.rez"}) {
        folders.journalFiles.push_back(data / file);
    }
    folders.savedFiles.insert(folders.savedFiles.end(), folders.journalFiles.begin(),
                              folders.journalFiles.end());
    folders.keyFiles = keyFilesBelow(SRV_Path.VESKPATH);
    return folders;
}

}  // namespace sim
