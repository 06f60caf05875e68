#include "lib/bd_vesk/databasewatch.h"

#include <algorithm>
#include <optional>

#include "lib/bd_vesk/bdvesk.h"
#include "lib/util/shmem.h"

DatabaseWatch::DatabaseWatch(const CVeskBDSh& database)
    : process_(database.databasePid()), generation_(ShmGeneration()) {
    for (const int id : database.segmentIds()) {
        // A segment that is already gone is noted with a key that no segment has.
        const IpcObject gone{IpcKind::segment, -1, id, 0, 0, 0, 0, 0};
        segments_.push_back(IpcStat(IpcKind::segment, id).value_or(gone));
    }
}

namespace {

bool isCurrentSegment(const IpcObject& noted) {
    const std::optional<IpcObject> now = IpcStat(IpcKind::segment, noted.id);
    // A segment that was removed stays until its last detach, but has lost its key.
    return now && now->key == noted.key && now->key != 0;
}

}  // namespace

bool DatabaseWatch::isCurrent() const {
    return process_.isAlive() && ShmGeneration() == generation_ &&
           std::all_of(segments_.begin(), segments_.end(), isCurrentSegment);
}
