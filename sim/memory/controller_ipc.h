#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "lib/util/ipc_objects.h"
#include "lib/util/shmem.h"
#include "lib/util/vs_obj.h"
#include "sim/memory/database_memory.h"
#include "sim/site/record.h"

namespace sim {

/// Everything of the controller that lives in System V objects: the name registry with both message
/// queues, the generation byte, the database's tables. Makes them, notes each in the record, and
/// removes them at its end, with those of the event journal. The key files must exist as long as
/// this does.
class ControllerIpc {
  public:
    /// Makes registry, queues and generation byte. Throws Failure when a foreign object has one of
    /// the controller's keys, or when an object cannot be made.
    ControllerIpc(Record& record, std::uint8_t generation);
    ~ControllerIpc();
    ControllerIpc(const ControllerIpc&) = delete;
    ControllerIpc& operator=(const ControllerIpc&) = delete;

    /// Makes the counts, all tables with their counts and the time-quality-flags table, zeroed. A
    /// type without variables gets no segment, as on the controller.
    DatabaseMemory makeDatabase(const Counts& counts);

    /// Registers this process as the database. From now on readers find it and send requests.
    void announce();

    [[nodiscard]] vs_obj& channel() { return *channel_; }

    /// Makes a zeroed segment that lives as long as this object. Throws Failure.
    /// @return null for size 0: an array that the type does not have
    std::byte* makeSegment(int index, std::size_t size);

  private:
    void makeChannel(std::uint8_t generation);
    void expectJournal();
    void refuseTakenKeys() const;
    void note(const IpcMark& mark);
    void intend(IpcKind kind, key_t key);
    void made(IpcKind kind, key_t key);
    void removeObjects();

    Record& record_;
    std::unique_ptr<vs_obj> channel_;
    std::vector<ShmPtr> attached_;
};

}  // namespace sim
