#pragma once

#include <cstddef>

// The tags of one boiler house: three boilers with the same tags, then the shared tags. A type's
// tags are numbered boiler by boiler; the numbers below count from 0.

namespace sim {

inline constexpr std::size_t kBoilers = 3;

/// What is measured. Each quantity is one analog input, in this order.
enum class BoilerSignal : std::size_t {
    gasPressure,
    gasFlow,
    airPressure,
    draft,
    waterIn,
    waterOut,
    waterFlow,
    pressureIn,
    pressureOut,
    flueTemperature,
    oxygen,
    carbonMonoxide,
    flame,
    gasValvePosition,
    airDamperPosition,
    draftDamperPosition,
    fanCurrent,
    exhausterCurrent,
    count
};
enum class CommonSignal : std::size_t {
    outdoor,
    supplyTemperature,
    returnTemperature,
    supplyPressure,
    returnPressure,
    networkFlow,
    makeupFlow,
    tankLevel,
    tankTemperature,
    hotWaterTemperature,
    hotWaterPressure,
    hotWaterFlow,
    gasInletPressure,
    gasTotalFlow,
    gasTemperature,
    coldWaterPressure,
    pump1Current,
    pump2Current,
    pump3Current,
    roomTemperature,
    methane1,
    methane2,
    roomMonoxide1,
    roomMonoxide2,
    mixValvePosition,
    makeupValvePosition,
    count
};

/// Controllers (AV).
enum class BoilerLoop : std::size_t { gas, air, draft, count };
enum class CommonLoop : std::size_t { mix, hotWater, makeup, count };

/// Manual inputs (HI).
enum class BoilerInput : std::size_t { temperature, oxygen, draft, permit, note, count };
enum class CommonInput : std::size_t {
    supplyTemperature,
    hotWaterTemperature,
    returnPressure,
    curveSlope,
    curveShift,
    weatherMode,
    summer,
    shift,
    message,
    count
};

/// Commands (DO), each with a drive.
enum class BoilerDrive : std::size_t { gasValve, igniter, fan, exhauster, waterValve, count };
enum class CommonDrive : std::size_t {
    networkPump1,
    networkPump2,
    networkPump3,
    makeupPump1,
    makeupPump2,
    hotWaterPump1,
    hotWaterPump2,
    gasMain,
    siren,
    count
};

/// Contacts (DI).
inline constexpr std::size_t kBoilerContacts = 14;
inline constexpr std::size_t kCommonContacts = 18;

template <class Enum>
constexpr std::size_t countOf() {
    return static_cast<std::size_t>(Enum::count);
}

/// Index of a boiler's element in the list of the house.
template <class Enum>
constexpr std::size_t ofBoiler(std::size_t boiler, Enum which) {
    return boiler * countOf<Enum>() + static_cast<std::size_t>(which);
}

constexpr std::size_t common(CommonSignal which) {
    return kBoilers * countOf<BoilerSignal>() + static_cast<std::size_t>(which);
}
constexpr std::size_t common(CommonLoop which) {
    return kBoilers * countOf<BoilerLoop>() + static_cast<std::size_t>(which);
}
constexpr std::size_t common(CommonInput which) {
    return kBoilers * countOf<BoilerInput>() + static_cast<std::size_t>(which);
}
constexpr std::size_t common(CommonDrive which) {
    return kBoilers * countOf<BoilerDrive>() + static_cast<std::size_t>(which);
}

inline constexpr std::size_t kHouseSignals = common(CommonSignal::count);
inline constexpr std::size_t kHouseLoops = common(CommonLoop::count);
inline constexpr std::size_t kHouseInputs = common(CommonInput::count);
inline constexpr std::size_t kHouseDrives = common(CommonDrive::count);
inline constexpr std::size_t kHouseContacts = kBoilers * kBoilerContacts + kCommonContacts;

static_assert(kHouseSignals == 80 && kHouseLoops == 12 && kHouseInputs == 24 &&
              kHouseDrives == 24 && kHouseContacts == 60);

}  // namespace sim
