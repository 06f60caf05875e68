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
/// The configuration file in whose text lines are searched: "/zrt/settings/opcuasrv.ini". A tool
/// that checks another file sets its path here before reading it.
extern std::string iniFilePath;
