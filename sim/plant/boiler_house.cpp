#include "sim/plant/boiler_house.h"

#include <algorithm>
#include <cmath>

#include "sim/plant/tags.h"

namespace sim {

namespace {

/// First-order lag: moves `value` towards `target` with a time constant in seconds.
void follow(float& value, float target, float timeConstant, float dt) {
    value += (target - value) * dt / (timeConstant + dt);
}

constexpr float kDay = 86400;
constexpr float kBoilerWater = 120;          // t/h through one boiler
constexpr float kPumpFlow = 180;             // t/h of one network pump
constexpr float kGasFlow = 560;              // m3/h of one burner, valve fully open
constexpr float kGasPressure = 30;           // kPa at the inlet without flow
constexpr float kGasHeat = 0.0093F * 0.92F;  // MW per m3/h, with the boiler's efficiency
constexpr float kKelvinPerMegawatt = 860;    // for 1 t/h of water

}  // namespace

BoilerHouse::BoilerHouse(std::uint64_t seed) : random_(seed) {
    for (std::size_t i = 0; i < kHouseDrives; ++i) {
        drives_[i] = houseTags().commands[i].initial;
    }
    for (std::size_t boiler = 0; boiler < kBoilers; ++boiler) {
        of(boiler, BoilerSignal::waterIn) = 62;
        of(boiler, BoilerSignal::waterOut) = 82;
        of(boiler, BoilerSignal::flueTemperature) = 140;
        of(boiler, BoilerSignal::oxygen) = 4;
    }
    of(CommonSignal::outdoor) = -12;
    of(CommonSignal::supplyTemperature) = 74;
    of(CommonSignal::returnTemperature) = 51;
    of(CommonSignal::returnPressure) = 0.25F;
    of(CommonSignal::tankLevel) = 50;
    of(CommonSignal::hotWaterTemperature) = 58;
    of(CommonSignal::roomTemperature) = 24;
    of(CommonSignal::gasInletPressure) = kGasPressure;
}

void BoilerHouse::advance(const HouseInputs& inputs, float seconds) {
    constexpr float kLongestStep = 1;
    while (seconds > 0) {
        const float dt = std::min(seconds, kLongestStep);
        step(inputs, dt);
        seconds -= dt;
    }
}

void BoilerHouse::step(const HouseInputs& inputs, float dt) {
    clock_ = std::fmod(clock_ + dt, kDay);
    moveDrives(inputs, dt);
    for (std::size_t boiler = 0; boiler < kBoilers; ++boiler) {
        stepBoiler(boiler, inputs, dt);
    }
    stepGas(dt);
    stepNetwork(inputs, dt);
    stepMakeup(inputs, dt);
    stepHotWater(inputs, dt);
    stepRoom(dt);
}

void BoilerHouse::moveDrives(const HouseInputs& inputs, float dt) {
    const auto& commands = houseTags().commands;
    for (std::size_t i = 0; i < kHouseDrives; ++i) {
        bool on = inputs.commands[i] != 0;
        const std::size_t boiler = i / countOf<BoilerDrive>();
        if (boiler < kBoilers && i == ofBoiler(boiler, BoilerDrive::gasValve)) {
            on = on && inputs.boilerPermitted[boiler] != 0;
        }
        const float travel = dt / commands[i].strokeSeconds;
        drives_[i] = std::clamp(drives_[i] + (on ? travel : -travel), 0.0F, 1.0F);
    }
}

void BoilerHouse::stepBoiler(std::size_t boiler, const HouseInputs& inputs, float dt) {
    const auto output = [&](BoilerLoop loop) {
        return inputs.controllerOutputs[ofBoiler(boiler, loop)];
    };
    follow(of(boiler, BoilerSignal::gasValvePosition), output(BoilerLoop::gas), 1.0F, dt);
    follow(of(boiler, BoilerSignal::airDamperPosition), output(BoilerLoop::air), 1.0F, dt);
    follow(of(boiler, BoilerSignal::draftDamperPosition), output(BoilerLoop::draft), 1.0F, dt);
    const float gasValve = of(boiler, BoilerSignal::gasValvePosition) / 100;
    const float airDamper = of(boiler, BoilerSignal::airDamperPosition) / 100;
    const float draftDamper = of(boiler, BoilerSignal::draftDamperPosition) / 100;
    const float fan = driveOf(boiler, BoilerDrive::fan);
    const float exhauster = driveOf(boiler, BoilerDrive::exhauster);
    const float inlet = of(CommonSignal::gasInletPressure) * driveOf(boiler, BoilerDrive::gasValve);

    // Without air the burner's automatics hold the gas back.
    const float gas = kGasFlow * gasValve * std::sqrt(std::max(inlet, 0.0F) / kGasPressure) * fan;
    follow(of(boiler, BoilerSignal::gasPressure), inlet * (0.2F + 0.7F * gasValve), 0.5F, dt);
    follow(of(boiler, BoilerSignal::gasFlow), gas, 0.8F, dt);
    const float burning = of(boiler, BoilerSignal::gasFlow);
    const float load = burning / kGasFlow;

    const float air = fan * (200 + 7500 * airDamper);  // m3/h
    const float excess = burning > 1 ? air / (10 * burning) : 1000;
    const float oxygen = std::clamp(21 * (1 - 1 / std::max(excess, 1.0F)), 0.0F, 21.0F);
    const float monoxide = 12 + (excess < 1.05F ? (1.05F - excess) * 4000 : 0);
    follow(of(boiler, BoilerSignal::airPressure), fan * (0.4F + 1.6F * airDamper), 0.5F, dt);
    follow(of(boiler, BoilerSignal::oxygen), oxygen, 3, dt);
    follow(of(boiler, BoilerSignal::carbonMonoxide), std::min(monoxide, 500.0F), 3, dt);
    follow(of(boiler, BoilerSignal::draft), 20 * air / 7700 - exhauster * (5 + 60 * draftDamper),
           1.5F, dt);
    const bool flame = burning > 10;
    const float igniter = 60 * driveOf(boiler, BoilerDrive::igniter);
    follow(of(boiler, BoilerSignal::flame), std::max(flame ? 70 + 20 * load : 0, igniter), 0.4F,
           dt);
    follow(of(boiler, BoilerSignal::flueTemperature),
           35 + 110 * load + 0.3F * of(boiler, BoilerSignal::waterOut), 10, dt);
    follow(of(boiler, BoilerSignal::fanCurrent), fan * (20 + 35 * airDamper), 0.5F, dt);
    follow(of(boiler, BoilerSignal::exhausterCurrent), exhauster * (30 + 60 * draftDamper), 0.5F,
           dt);
    stepBoilerWater(boiler, burning * kGasHeat, dt);
}

void BoilerHouse::stepBoilerWater(std::size_t boiler, float heatMegawatts, float dt) {
    const float share = std::min(of(CommonSignal::networkFlow) / (2 * kPumpFlow), 1.0F);
    const float valve = driveOf(boiler, BoilerDrive::waterValve);
    float& flow = of(boiler, BoilerSignal::waterFlow);
    follow(flow, kBoilerWater * share * valve, 2, dt);
    follow(of(boiler, BoilerSignal::waterIn),
           0.6F * of(CommonSignal::returnTemperature) + 0.4F * of(CommonSignal::supplyTemperature),
           6, dt);
    const float in = of(boiler, BoilerSignal::waterIn);
    // With little flow the water boils; the safety valve ends the rise.
    const float rise = heatMegawatts * kKelvinPerMegawatt / std::max(flow, 5.0F);
    follow(of(boiler, BoilerSignal::waterOut), std::min(in + rise, 140.0F), 8, dt);
    const float pressure = of(CommonSignal::returnPressure) + 0.4F * share;
    follow(of(boiler, BoilerSignal::pressureIn), pressure, 0.8F, dt);
    follow(of(boiler, BoilerSignal::pressureOut), pressure - 0.08F * flow / kBoilerWater, 0.8F, dt);
}

void BoilerHouse::stepGas(float dt) {
    float total = 0;
    for (std::size_t boiler = 0; boiler < kBoilers; ++boiler) {
        total += of(boiler, BoilerSignal::gasFlow);
    }
    of(CommonSignal::gasTotalFlow) = total;
    follow(of(CommonSignal::gasInletPressure),
           driveOf(CommonDrive::gasMain) * (kGasPressure - 0.002F * total), 0.8F, dt);
    follow(of(CommonSignal::gasTemperature), 6 + 0.1F * of(CommonSignal::outdoor), 60, dt);
    gasCounted_ += total / 3600 * dt;
    if (gasCounted_ >= 1) {
        gasCounted_ -= 1;
        gasPulse_ = !gasPulse_;
    }
}

void BoilerHouse::stepNetwork(const HouseInputs& inputs, float dt) {
    const float pumps = driveOf(CommonDrive::networkPump1) + driveOf(CommonDrive::networkPump2) +
                        driveOf(CommonDrive::networkPump3);
    // A second and third pump on one pipe bring less than the first.
    const float flow = kPumpFlow * (pumps <= 2 ? pumps : 2 + 0.4F * (pumps - 2));
    follow(of(CommonSignal::networkFlow), flow, 2, dt);
    of(CommonSignal::outdoor) = -12 + 4 * std::sin(clock_ / 900);

    float boilerOut = 0;
    for (std::size_t boiler = 0; boiler < kBoilers; ++boiler) {
        boilerOut += of(boiler, BoilerSignal::waterOut) / kBoilers;
    }
    float& mix = of(CommonSignal::mixValvePosition);
    follow(mix, inputs.controllerOutputs[common(CommonLoop::mix)], 1.5F, dt);
    float& back = of(CommonSignal::returnTemperature);
    float& supply = of(CommonSignal::supplyTemperature);
    follow(supply, back + (boilerOut - back) * mix / 100, 6, dt);
    const float wanted = 18 + 0.3F * (5 - of(CommonSignal::outdoor));
    const float lost = std::min(wanted, 0.6F * std::max(supply - 15, 0.0F));
    follow(back, supply - lost, 40, dt);

    follow(of(CommonSignal::supplyPressure), of(CommonSignal::returnPressure) + 0.18F * pumps, 0.8F,
           dt);
    for (const auto& [drive, current] :
         {std::pair{CommonDrive::networkPump1, CommonSignal::pump1Current},
          std::pair{CommonDrive::networkPump2, CommonSignal::pump2Current},
          std::pair{CommonDrive::networkPump3, CommonSignal::pump3Current}}) {
        follow(of(current), driveOf(drive) * 78, 0.4F, dt);
    }
}

void BoilerHouse::stepMakeup(const HouseInputs& inputs, float dt) {
    float& valve = of(CommonSignal::makeupValvePosition);
    follow(valve, inputs.controllerOutputs[common(CommonLoop::makeup)], 1, dt);
    const float pumps =
        std::min(driveOf(CommonDrive::makeupPump1) + driveOf(CommonDrive::makeupPump2), 1.5F);
    float& level = of(CommonSignal::tankLevel);
    const float available = level > 1 ? 1 : 0;
    float& flow = of(CommonSignal::makeupFlow);
    follow(flow, 8 * valve / 100 * pumps * available, 0.8F, dt);
    float& pressure = of(CommonSignal::returnPressure);
    const float leak = std::max(2 + 10 * (pressure - 0.25F), 0.0F);  // t/h
    pressure = std::clamp(pressure + (flow - leak) * 0.004F * dt, 0.02F, 0.9F);

    // The float valve of the tank opens low and shuts high.
    if (level < 40) tankFilling_ = true;
    if (level > 60) tankFilling_ = false;
    const float filling = tankFilling_ ? 6.0F : 0;
    level = std::clamp(level + (filling - flow) * 0.2F * dt, 0.0F, 100.0F);
    follow(of(CommonSignal::tankTemperature), 40, 60, dt);
}

void BoilerHouse::stepHotWater(const HouseInputs& inputs, float dt) {
    const float valve = inputs.controllerOutputs[common(CommonLoop::hotWater)] / 100;
    const float pumps =
        std::min(driveOf(CommonDrive::hotWaterPump1) + driveOf(CommonDrive::hotWaterPump2), 1.0F);
    consumption_ = std::clamp(consumption_ + random_.normal() * 0.6F * std::sqrt(dt), 8.0F, 30.0F);
    follow(of(CommonSignal::hotWaterFlow), consumption_ * pumps, 1, dt);
    const float heating =
        (of(CommonSignal::supplyTemperature) - 8) * valve * 18 / std::max(consumption_, 8.0F);
    follow(of(CommonSignal::hotWaterTemperature), std::min(8 + heating, 95.0F), 6, dt);
    follow(of(CommonSignal::hotWaterPressure), 0.2F + 0.25F * pumps, 0.8F, dt);
    follow(of(CommonSignal::coldWaterPressure), 0.4F - 0.001F * consumption_, 0.8F, dt);
}

void BoilerHouse::stepRoom(float dt) {
    constexpr float kOpens = 0.05F;  // per second
    constexpr float kCloses = 0.2F;
    const float chance = random_.uniform();
    doorOpen_ = doorOpen_ ? chance >= kCloses * dt : chance < kOpens * dt;
    follow(of(CommonSignal::roomTemperature), doorOpen_ ? 15.0F : 25.0F, 120, dt);
    for (const CommonSignal methane : {CommonSignal::methane1, CommonSignal::methane2}) {
        follow(of(methane), doorOpen_ ? 0.02F : 0.08F, 20, dt);
    }
    for (const CommonSignal monoxide : {CommonSignal::roomMonoxide1, CommonSignal::roomMonoxide2}) {
        follow(of(monoxide), doorOpen_ ? 1.0F : 3.0F, 20, dt);
    }
}

}  // namespace sim
