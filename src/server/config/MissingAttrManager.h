#pragma once

#include <array>
#include <string>
#include <unordered_set>
#include <vector>

/// Kinds of messages for messageBlocker, one for each exported kind of variable.
enum AttrTypeMsg : int {  // unscoped: the interface passes them as int
    AttrTypeMsgVA = 0,
    AttrTypeMsgAV = 1,
    AttrTypeMsgRV = 2,
    AttrTypeMsgVD = 3,
    AttrTypeMsgDV = 4,
    AttrTypeMsgCount,  // how many there are
};

/// Collects, while the operative trees are built, the configured attributes that the database does
/// not describe, and reports them together afterwards. Main thread, start-up only.
class MissingAttrManager {
  public:
    /// Notes names (configuration keys, CP866); one noted before is not noted again.
    void addMissingAttr(const std::vector<std::string>& names);

    /// Whether a message of this kind may be sent: true the first time for each kind, and always
    /// for a number that is not an AttrTypeMsg. Part of the interface; the server itself does not
    /// call it.
    [[nodiscard]] bool messageBlocker(int type);

    /// Reports each noted name, in the order first noted, as configuration error 4 with the line
    /// that findLineNumber gives for it in `iniFilePath`. The names stay noted.
    void sendMessage() const;

  private:
    std::vector<std::string> missing_;
    std::unordered_set<std::string> known_;  // the same names, for a check in constant time
    std::array<bool, AttrTypeMsgCount> sent_{};
};
