#include "bench/micro/controller.h"

#include <memory>

#include "lib/util/vs_obj.h"
#include "server/ServerState.h"
#include "server/config/ConfigState.h"
#include "server/config/IniConfigManager.h"
#include "server/config/ListSections.h"
#include "server/values/UARTEXVariable.h"
#include "server/values/VariableTypeVA.h"

namespace bench {
namespace {

bool attach() {
    All = new vs_obj;  // kept until the process ends
    declareSchema(ListSections::getInstance());
    (void)IniConfigManager::instance().loadConfig(iniFilePath);  // reports for itself
    int number = 1;
    do {
        rtexvariable.push_back(std::make_unique<VariableTypeVA>());
    } while (rtexvariable.back()->getCountVarFormObj(number++) == 0);
    rtexvariable.pop_back();
    return uaserver.initializeOperativeTree() == UA_STATUSCODE_GOOD;
}

}  // namespace

void attachController() {
    static const bool attached = attach();
    (void)attached;
}

}  // namespace bench
