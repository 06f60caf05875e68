#pragma once

#include <filesystem>
#include <iosfwd>
#include <string>
#include <vector>

#include "sim/site/folders.h"
#include "sim/site/record.h"

namespace sim {

/// The installation folder while a simulated controller occupies it. Decides whether it may be
/// occupied, makes files and folders, and removes them again. Never touches a file that it did not
/// write.
class Site {
  public:
    /// @param out  messages to the user, UTF-8; must outlive the site
    Site(Folders folders, std::ostream& out);
    /// Leaves the folder, see leave.
    ~Site();
    Site(const Site&) = delete;
    Site& operator=(const Site&) = delete;

    /// Takes possession: checks that nothing here belongs to others, and removes what a killed run
    /// left. A setting that was edited after zrtsim wrote it stays, and so do saved files, unless
    /// `fresh`. Throws Failure with all objections; nothing has changed then.
    void enter(bool fresh);

    /// Makes the controller's missing folders and its key files. The key files must exist before
    /// the first key is computed and stay the same files until the last segment is gone, because a
    /// key is made from the file's inode.
    void makeFoldersAndKeyFiles();

    /// Writes a file that does not exist. Throws Failure.
    void makeFile(const std::filesystem::path& file, const std::string& bytes);

    /// Notes a file of Folders::savedFiles as ours before another component writes it, for the
    /// whole run. Throws Failure.
    void adoptSavedFile(const std::filesystem::path& file);

    /// True when the user's edited version of a setting was kept.
    [[nodiscard]] bool keepsEdited(const std::filesystem::path& file) const;

    /// Removes everything that was made; an edited setting and the saved files stay, with a
    /// message. Does nothing when the site was not entered.
    void leave();

    [[nodiscard]] const Folders& folders() const { return folders_; }
    [[nodiscard]] Record& record() { return record_; }

  private:
    void lockRecord();
    [[nodiscard]] std::vector<std::string> foreignFiles() const;
    [[nodiscard]] std::vector<std::string> foreignObjects() const;
    void refuseLiveController() const;
    void refuseForeign(bool fresh) const;
    void removeLeftObjects();
    void removeLeftFiles(bool fresh);
    void removeSavedFiles();
    void tellSavedFiles();
    void removeFolders();

    Folders folders_;
    std::ostream& out_;
    Record record_;
    std::vector<std::filesystem::path> edited_;  // the user's settings that were kept
    bool entered_ = false;
};

}  // namespace sim
