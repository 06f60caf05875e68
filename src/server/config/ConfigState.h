#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "server/config/MissingAttrManager.h"

// The process-wide objects of the configuration, defined together in ConfigState.cpp. Main thread,
// written during start-up only.

/// Lines of the configuration file for which a refused attribute was reported (configuration error
/// 4).
extern std::vector<std::int32_t> usedLines;
extern MissingAttrManager missAttrManager;
/// "/zrt/settings/opcuasrv.ini".
extern const std::string iniFilePath;
