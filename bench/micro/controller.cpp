#include "bench/micro/controller.h"

#include "lib/util/vs_obj.h"
#include "server/ServerState.h"
#include "server/config/ConfigState.h"
#include "server/config/IniConfigManager.h"
#include "server/config/ListSections.h"
#include "server/values/CreateVariables.h"

namespace bench {
namespace {

bool attach() {
    All = new vs_obj;  // kept until the process ends
    declareSchema(ListSections::getInstance());
    (void)IniConfigManager::instance().loadConfig(iniFilePath);  // reports for itself
    createVariables(VariableType::VA);
    return uaserver.initializeOperativeTree() == UA_STATUSCODE_GOOD;
}

}  // namespace

void attachController() {
    static const bool attached = attach();
    (void)attached;
}

}  // namespace bench
