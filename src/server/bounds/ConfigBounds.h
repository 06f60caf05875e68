#pragma once

#include <cstddef>
#include <cstdint>

// Limits for the values of the configuration file. Used by the server, by the tool that checks
// configurations and by the simulator, which writes a sample configuration.

/// TCP ports that the endpoint may have.
inline constexpr int kFirstPort = 4840;
inline constexpr int kLastPort = 4849;

/// Sampling intervals that are used as configured.
inline constexpr double kShortestIntervalMs = 30.0;
inline constexpr double kLongestIntervalMs = 10'000.0;
/// The interval where none is given, or none that is taken.
inline constexpr double kDefaultIntervalMs = 500.0;

/// Bytes of CP866 of the application's name.
inline constexpr std::size_t kApplicationNameBytes = 16;

/// The last number that a variable of one kind, or a pen, can have: the database's have 16 bits.
inline constexpr std::int32_t kLastTagNumber = 65535;

/// Values of one pen in one answer to a history read.
inline constexpr std::int32_t kMostHistoryValues = 1000;
