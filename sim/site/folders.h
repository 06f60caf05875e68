#pragma once

#include <filesystem>
#include <vector>

namespace sim {

/// Where a controller keeps its files, from the same environment variables as its other programs.
struct Folders {
    std::filesystem::path root;      // must exist; never made or removed
    std::filesystem::path system;    // attribute description files
    std::filesystem::path settings;  // ini files
    /// Folders that a controller has, parents first.
    std::vector<std::filesystem::path> all;
    /// Files that a run writes continually and leaves for the next one.
    std::vector<std::filesystem::path> savedFiles;
    /// Those of them that the event journal is saved to.
    std::vector<std::filesystem::path> journalFiles;
    /// Files that System V keys are made from: every one that the index tables name.
    std::vector<std::filesystem::path> keyFiles;

    [[nodiscard]] std::filesystem::path record() const { return root / ".zrtsim-record"; }
    [[nodiscard]] std::filesystem::path offsetFile() const { return system / "offatrs.dat"; }
    [[nodiscard]] std::filesystem::path kindFile() const { return system / "atributs.dat"; }
    [[nodiscard]] std::filesystem::path controllerIni() const { return settings / "veskkntr.ini"; }
    [[nodiscard]] std::filesystem::path serverIni() const { return settings / "opcuasrv.ini"; }

    /// Plotters and pens, and what they recorded; the trend library looks for both here.
    [[nodiscard]] std::filesystem::path trendsIni() const { return settings / "trends.ini"; }
    [[nodiscard]] std::filesystem::path trendArchive() const {
        return root / "trends" / "archive.db";
    }

    /// The files that SQLite keeps beside a saved file that is a database. A reader may make them
    /// at any time, so they belong to the owner of that file.
    [[nodiscard]] static std::vector<std::filesystem::path> besideSaved(
        const std::filesystem::path& file) {
        return {file.string() + "-wal", file.string() + "-shm"};
    }

    [[nodiscard]] bool isSetting(const std::filesystem::path& file) const {
        return file == controllerIni() || file == serverIni() || file == trendsIni();
    }
};

/// Reads SRV_Path, which holds the environment at the start of the process.
[[nodiscard]] Folders controllerFolders();

}  // namespace sim
