#include "server/ServerState.h"

UAServer uaserver;
std::vector<std::unique_ptr<VarContext>> varContexts;
const std::string ServerVersion = "1.0-0";
