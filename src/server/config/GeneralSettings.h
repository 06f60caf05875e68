#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "server/bounds/ConfigBounds.h"
#include "server/config/Section.h"

// The endpoint's settings in the loaded configuration. Keys are case-sensitive and are looked for
// in every section. Main thread.

/// Every value of `key`, in the order of the loaded configuration.
std::vector<std::string_view> valuesOf(const std::vector<Section>& sections, std::string_view key);

/// A decimal integer that is the whole text but for white space at its ends.
std::optional<int> parseWholeInteger(std::string_view text);

/// The last "ServerPort". A missing one, or any invalid one, is reported as configuration
/// error 3; the server cannot start then.
std::optional<int> readServerPort(const std::vector<Section>& sections);

/// Value of the last "AplicationName", cut to kApplicationNameBytes and then without its blanks;
/// empty when there is none. CP866.
std::string applicationNameCp866(const std::vector<Section>& sections);

/// False when the first word of any value of `key` is exactly "off"; true otherwise, also without
/// one.
bool switchedOn(const std::vector<Section>& sections, std::string_view key);

/// What becomes of one "SamplingInterval".
struct SamplingDecision {
    std::optional<double> intervalMs;  ///< the new interval; none: the old one stays
    bool report = false;               ///< configuration error 2
};

/// @param askedMs  milliseconds, as configured
/// @param cycleTimeMs  the controller's cycle; values change no faster
SamplingDecision decideSamplingInterval(double askedMs, double cycleTimeMs);

/// The interval after each "SamplingInterval" was applied in turn; those that are invalid are
/// reported as configuration error 2.
/// @param intervalMs  the interval before
double readSamplingInterval(const std::vector<Section>& sections, double cycleTimeMs,
                            double intervalMs);

/// The number at the start of the text; none when it starts with something else.
std::optional<double> parseLeadingNumber(std::string_view text);
/// The same for a decimal integer of 32 bits.
std::optional<std::int32_t> parseLeadingInteger(std::string_view text);
