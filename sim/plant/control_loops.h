#pragma once

#include <array>
#include <cstddef>

#include "sim/memory/database_memory.h"
#include "sim/plant/boiler_house.h"

namespace sim {

/// The PI controllers (AV) of one house. All settings are read from the passport in every cycle, so
/// a client can tune a running loop.
///
/// The set point ZD follows the manual input that belongs to the loop; when a client writes ZD
/// itself, the manual input follows it. Bit 0 of STATUS1 is manual mode: the output follows IMR. In
/// automatic mode IMR follows the output, so that the change-over is bumpless. While the process
/// variable is bad the output is held.
class ControlLoops {
  public:
    explicit ControlLoops(std::size_t house) : house_(house) {}

    void run(const DatabaseMemory& memory, const BoilerHouse& process, HouseInputs& inputs,
             float seconds);

  private:
    struct SetPoints {
        float wanted = 0;  // of the manual input, as seen last
        float inUse = 0;   // ZD, as left last
        bool known = false;
    };

    float setPoint(const DatabaseMemory& memory, std::size_t loop, std::byte* record);
    [[nodiscard]] bool weatherCurve(const DatabaseMemory& memory, std::size_t loop,
                                    float& wanted) const;

    std::size_t house_;
    std::array<SetPoints, kHouseLoops> setPoints_{};
};

}  // namespace sim
