#pragma once

#include <sys/types.h>

#include <ctime>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "lib/util/ipc_objects.h"
#include "sim/site/fingerprint.h"

namespace sim {

/// A System V object that a run made. The kernel reuses ids, so only all fields together show
/// whether an existing object is still the same one.
struct IpcMark {
    IpcKind kind;
    key_t key;
    int id;                  // or one of those below
    std::time_t changeTime;  // s since 1970; without an id, when it was noted
};

/// Noted before this process makes it.
inline constexpr int kNotMadeYet = -1;
/// An object that any process of the controller makes when it is the first to need it. The key
/// comes from a key file of ours, so an object with this key is part of this simulated controller.
inline constexpr int kMadeByAny = -2;

/// What earlier runs made and did not remove.
struct RecordContents {
    pid_t owner = 0;  // process of the last run
    std::vector<std::filesystem::path> directories;
    /// A file without fingerprint was noted before it was written, so it may be incomplete.
    std::map<std::filesystem::path, std::optional<Fingerprint>> files;
    /// Files that grow while a run lasts and stay for the next one, so no fingerprint fits them.
    std::set<std::filesystem::path> saved;
    std::vector<IpcMark> ipc;

    /// True when one of the marks is of this very object.
    [[nodiscard]] bool owns(const IpcObject& object) const;
};

/// The record of everything that the simulated controller made, in a text file below the
/// installation folder. Each thing is noted before it is made and once more when it exists, so that
/// the remains of a killed run can be distinguished from what belongs to others. While a run lasts
/// it holds a lock on the file, which the kernel releases with the process: the one sure sign of
/// life.
class Record {
  public:
    enum class Lock { held, absent, busy, failed };

    explicit Record(std::filesystem::path file) : file_(std::move(file)) {}
    ~Record();
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;

    /// Takes over the record of an earlier run and reads it. Creates nothing if there is none.
    Lock takeOver();
    /// Creates a new, empty record. Busy when another run was faster.
    Lock create();

    /// What takeOver found, updated by every note.
    [[nodiscard]] const RecordContents& contents() const { return contents_; }

    // Notes reach the file before they return; false (errno set) when they do not.
    [[nodiscard]] bool noteOwner(pid_t pid);
    [[nodiscard]] bool noteDirectory(const std::filesystem::path& directory);
    [[nodiscard]] bool noteFile(const std::filesystem::path& file,
                                const std::optional<Fingerprint>& fingerprint);
    [[nodiscard]] bool noteSaved(const std::filesystem::path& file);
    [[nodiscard]] bool noteIpc(const IpcMark& mark);
    [[nodiscard]] bool forgetFile(const std::filesystem::path& file);

    /// Ends the run: the record is removed, or shortened to the files that stay and the folders
    /// that still exist, which a later run removes once they are empty.
    void finish();

  private:
    Lock lockOpened();
    bool append(const std::string& line);
    void parse(const std::string& line);

    std::filesystem::path file_;
    int descriptor_ = -1;
    RecordContents contents_;
};

}  // namespace sim
