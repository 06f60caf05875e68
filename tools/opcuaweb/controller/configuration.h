#pragma once

#include <mutex>
#include <optional>
#include <string>

#include "tools/opcuacheck/database.h"
#include "tools/opcuaweb/basics/json.h"

namespace tools::opcuaweb {

/// The configuration file with its findings and the tree that results, as opcuacheck finds them. Any
/// thread; the checks themselves run one at a time.
class Configuration {
  public:
    /// @param file      path of opcuasrv.ini
    /// @param settings  folder of veskkntr.ini
    Configuration(std::string file, const std::string& settings, opcuacheck::Database database);

    /// The file as it is now. @return nothing if it cannot be read
    [[nodiscard]] std::optional<Json> current();
    /// A text in its place, which is not written anywhere. @param text  UTF-8
    [[nodiscard]] std::optional<Json> check(const std::string& text);

    /// {"errors", "warnings"} of the file; null if it cannot be read.
    /// @return nothing if a check is on its way
    [[nodiscard]] std::optional<Json> findings();

  private:
    enum class Extent { counts, all };
    /// With `mutex_` locked.
    [[nodiscard]] std::optional<Json> checkedFile(const std::string& path, Extent extent) const;

    const std::string file_;
    const std::string settingsPath_;
    const opcuacheck::Database database_;
    std::mutex mutex_;  // the checks use process-wide objects of the server's code
};

}  // namespace tools::opcuaweb
