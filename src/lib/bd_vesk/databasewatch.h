#pragma once

#include <cstdint>
#include <vector>

#include "lib/util/ipc_objects.h"
#include "lib/util/process_mark.h"

class CVeskBDSh;

/// Whether the database that was loaded is still the controller's: its process runs, and the
/// segments that were attached are the ones that any other process would find now. Without it
/// values stand still with the quality that they had.
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
