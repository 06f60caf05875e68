#pragma once

#include <cstddef>

#include "sim/plant/random.h"

namespace sim {

/// The course of sensor failures in one house: at most one sensor of a kind at a time degrades,
/// breaks, and is repaired.
class SensorFault {
  public:
    enum class Phase { none, sticking, broken };

    /// @param mayFail  whether the sensor with this number may fail
    void advance(Random& random, std::size_t sensors, bool (*mayFail)(std::size_t), float seconds) {
        remaining_ -= seconds;
        if (remaining_ > 0) return;
        switch (phase_) {
            case Phase::none:
                sensor_ = static_cast<std::size_t>(random.next() % sensors);
                if (!mayFail(sensor_)) break;  // none this time; tried again next cycle
                phase_ = Phase::sticking;
                remaining_ = random.between(3, 8);
                break;
            case Phase::sticking:
                phase_ = Phase::broken;
                remaining_ = random.between(4, 10);
                break;
            case Phase::broken:
                phase_ = Phase::none;
                remaining_ = random.between(5, 25);
                break;
        }
    }

    [[nodiscard]] Phase phaseOf(std::size_t sensor) const {
        return sensor == sensor_ ? phase_ : Phase::none;
    }

  private:
    Phase phase_ = Phase::none;
    std::size_t sensor_ = 0;
    float remaining_ = 3;  // s to the next change; the first failure comes soon
};

}  // namespace sim
