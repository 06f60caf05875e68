#pragma once

#include <chrono>
#include <cstdint>
#include <iosfwd>
#include <vector>

#include "lib/rolling2/rol_man.h"
#include "sim/memory/controller_ipc.h"
#include "sim/memory/database_memory.h"
#include "sim/plant/quality.h"
#include "sim/site/site.h"

namespace sim {

/// The controller's part in the event journal: it is the first user, which loads the saved journal,
/// and the saver. Posts the plant's events. See docs/journal.md. One thread.
class EventJournal {
  public:
    using Clock = std::chrono::steady_clock;

    /// Messages of the simulated controller in the system dictionary. The first argument of each is
    /// the controller's number (RT_INT).
    enum Code : std::uint32_t {
        started = 17901,          ///< tags in the database (RT_UINT)
        stops = 17902,            ///< none
        sensorBroken = 17911,     ///< about an analog input
        sensorRecovered = 17912,  ///< about an analog input
    };

    /// Makes what the library only attaches (position flag, dictionaries), joins, posts the start
    /// and saves both copies. Throws Failure.
    /// @param memory  filled; must outlive this object
    EventJournal(Site& site, ControllerIpc& ipc, const DatabaseMemory& memory, std::ostream& out);
    /// Posts the stop, saves and detaches. The objects are removed by ControllerIpc.
    ~EventJournal();
    EventJournal(const EventJournal&) = delete;
    EventJournal& operator=(const EventJournal&) = delete;

    /// Posts the sensors that broke or recovered since the last call, and saves when a save is due.
    void follow(Clock::time_point now);

  private:
    void makeDictionaries(ControllerIpc& ipc) const;
    void join(std::ostream& out);
    void post(Code code, std::vector<CRolArg> arguments, int analogInput = 0);

    DatabaseMemory memory_;
    CRolManager rolling_;
    std::vector<bool> isBroken_;  // by analog input
    Clock::time_point nextSave_;
};

}  // namespace sim
