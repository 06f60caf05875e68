#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "lib/util/ipc_objects.h"

namespace sim {

/// Name under which the database process is registered.
inline constexpr const char* kDatabaseName = "VsBASE";

/// The segment, semaphore and queue with a key, if they exist; none for the key -1.
[[nodiscard]] std::vector<IpcObject> objectsAt(key_t key);

/// One line in Russian for messages: kind, key, IPC index (-1: not known) and maker.
[[nodiscard]] std::string describe(const IpcObject& object, int index);

}  // namespace sim
