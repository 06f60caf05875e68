#include "server/ServerState.h"

#include "server/history/HistoryBackend.h"

CRolManager Rolling;
UAServer uaserver;
const std::int32_t PointCountForTrends = static_cast<std::int32_t>(getCountHistoryTrends());
const std::string ServerVersion = "1.0-0";
