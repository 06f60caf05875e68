#pragma once

#include <cstdint>
#include <vector>

#include "lib/util/ipc_objects.h"
#include "lib/util/process_mark.h"

class CVeskBDSh;

/// Checks whether the database that was loaded is still the controller's: its process is running,
/// and any other process would now attach the same segments. Once it is not, values no longer
/// change and keep their last quality.
///
/// Touches neither the name registry nor the tables, prints nothing. Any thread.
class DatabaseWatch {
  public:
    /// @param database  loaded; not kept
    explicit DatabaseWatch(const CVeskBDSh& database);

    /// Some eighty system calls on a controller with all its tables.
    [[nodiscard]] bool isCurrent() const;

  private:
    ProcessMark process_;
    std::vector<IpcObject> segments_;
    std::uint8_t generation_;
};
