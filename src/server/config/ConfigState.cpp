#include "server/config/ConfigState.h"

std::vector<std::int32_t> usedLines;
MissingAttrManager missAttrManager;
std::string iniFilePath = "/zrt/settings/opcuasrv.ini";
