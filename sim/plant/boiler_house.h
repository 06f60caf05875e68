#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "sim/plant/house_layout.h"
#include "sim/plant/random.h"

namespace sim {

/// The controller's inputs to the process of one boiler house.
struct HouseInputs {
    std::array<std::uint8_t, kHouseDrives> commands{};     // 1: on, open
    std::array<float, kHouseLoops> controllerOutputs{};    // %
    std::array<std::uint8_t, kBoilers> boilerPermitted{};  // 0: the gas valve is held shut
};

/// The process of one boiler house: first-order lags around simple balances of gas, air, heat and
/// water. It shows how the quantities depend on each other, not their exact amounts.
class BoilerHouse {
  public:
    explicit BoilerHouse(std::uint64_t seed);

    /// Advances by `seconds` (0 to 1; longer steps are divided into such steps).
    void advance(const HouseInputs& inputs, float seconds);

    /// Gives this house its own course of events; used after one house was copied to many.
    void reseed(std::uint64_t seed) { random_ = Random(seed); }

    /// True quantities in the units of the tags, without noise.
    [[nodiscard]] float signal(std::size_t i) const { return signals_[i]; }
    /// Position of a drive: 0 off or shut, 1 on or open.
    [[nodiscard]] float drive(std::size_t i) const { return drives_[i]; }
    [[nodiscard]] bool doorOpen() const { return doorOpen_; }
    /// Changes with every cubic metre of gas.
    [[nodiscard]] bool gasPulse() const { return gasPulse_; }

    [[nodiscard]] Random& random() { return random_; }

  private:
    void step(const HouseInputs& inputs, float dt);
    void moveDrives(const HouseInputs& inputs, float dt);
    void stepBoiler(std::size_t boiler, const HouseInputs& inputs, float dt);
    void stepBoilerWater(std::size_t boiler, float heatMegawatts, float dt);
    void stepNetwork(const HouseInputs& inputs, float dt);
    void stepMakeup(const HouseInputs& inputs, float dt);
    void stepHotWater(const HouseInputs& inputs, float dt);
    void stepGas(float dt);
    void stepRoom(float dt);

    float& of(std::size_t boiler, BoilerSignal which) { return signals_[ofBoiler(boiler, which)]; }
    float& of(CommonSignal which) { return signals_[common(which)]; }
    [[nodiscard]] float driveOf(std::size_t boiler, BoilerDrive which) const {
        return drives_[ofBoiler(boiler, which)];
    }
    [[nodiscard]] float driveOf(CommonDrive which) const { return drives_[common(which)]; }

    std::array<float, kHouseSignals> signals_{};
    std::array<float, kHouseDrives> drives_{};
    Random random_;
    float clock_ = 0;         // s, for the weather; wraps daily
    float gasCounted_ = 0;    // m3 since the last pulse
    float consumption_ = 18;  // t/h of hot water that the town takes
    bool tankFilling_ = false;
    bool doorOpen_ = false;
    bool gasPulse_ = false;
};

}  // namespace sim
