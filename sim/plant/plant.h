#pragma once

#include <sys/time.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "sim/memory/database_memory.h"
#include "sim/plant/boiler_house.h"
#include "sim/plant/control_loops.h"
#include "sim/plant/sensor_fault.h"

namespace sim {

/// The plant and the controller's cycle. One boiler house has about 200 tags; a larger database
/// holds as many houses as its largest type needs, the last one in part.
///
/// The whole state is in the database: what a client writes there is read in the next cycle. Used
/// from one thread. The same seed and the same writes give the same course, whatever the clock
/// says.
class Plant {
  public:
    /// Fills the database: passports, settled process, first values, good quality, the time `now`.
    Plant(const DatabaseMemory& memory, std::uint64_t seed, timeval now);

    /// One controller cycle of `seconds` that ends at `now`.
    void cycle(timeval now, float seconds);

    [[nodiscard]] std::size_t houses() const { return houses_.size(); }

  private:
    struct House {
        BoilerHouse process;
        ControlLoops loops;
        HouseInputs inputs;
        SensorFault sensorFault;
        SensorFault contactFault;
    };

    void settle();
    void copyFirstHouse();
    void control(std::size_t number, float seconds);
    void scan(std::size_t number, float seconds);
    void countPlainValues();
    void stampTimes(timeval now) const;

    DatabaseMemory memory_;
    std::vector<House> houses_;
    double elapsed_ = 0;  // s of plant time
    std::uint32_t cycles_ = 0;
};

}  // namespace sim
