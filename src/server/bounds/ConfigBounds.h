#pragma once

#include <cstddef>
#include <cstdint>

// What the values of the configuration file are held to. For the server, the tools that check a
// configuration and the simulator that writes a sample of one.

/// TCP ports that the endpoint may have.
inline constexpr int kFirstPort = 4840;
inline constexpr int kLastPort = 4849;

/// Sampling intervals that are taken as they are asked for.
inline constexpr double kShortestIntervalMs = 30.0;
inline constexpr double kLongestIntervalMs = 10'000.0;

/// Bytes of CP866 of the application's name.
inline constexpr std::size_t kApplicationNameBytes = 16;

/// Values of one pen in one answer to a history read.
inline constexpr std::int32_t kMostHistoryValues = 1000;
