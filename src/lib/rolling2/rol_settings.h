#pragma once

#include <cstdint>

#include "lib/rolling2/rol_shared.h"

/// What veskkntr.ini, the controller's settings file, holds for the journal.

/// Reads the controller's number ("StartSetup", "Number_kontr"). Untouched when there is none.
void RolReadController(const char* path, std::int16_t& number);

/// The settings of a new journal: defaults, then what the file sets. A file that cannot be used is
/// reported; a number that its field cannot hold leaves the default.
[[nodiscard]] SRolIniFileSettings RolReadSettings(const char* path);

/// Replaces invalid values; settings within their limits stay as they are.
void RolCorrectSettings(SRolIniFileSettings& settings);

/// False for a block that was not filled, because its maker died before it did so.
[[nodiscard]] bool RolSettingsAreFilled(const SRolIniFileSettings& settings);

/// Copies settings to shared memory, the capacity last: until it is there, they do not count as
/// filled.
void RolFillSettings(const SRolIniFileSettings& settings, SRolIniFileSettings& shared);
