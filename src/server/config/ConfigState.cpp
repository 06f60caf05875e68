#include "server/config/ConfigState.h"

std::vector<std::int32_t> usedLines;
MissingAttrManager missAttrManager;
const std::string iniFilePath = "/zrt/settings/opcuasrv.ini";
