#include "server/startup/StartupSequence.h"

#include <cstdio>

#include "lib/util/vs_obj.h"
#include "server/ServerState.h"
#include "server/config/ConfigState.h"
#include "server/config/IniConfigManager.h"
#include "server/config/ListSections.h"
#include "server/diagnostics/LogControllerWriter.h"
#include "server/diagnostics/OperatorMessages.h"
#include "server/diagnostics/SleepForever.h"
#include "server/endpoint/Descriptors.h"
#include "server/history/HistoryAccess.h"
#include "server/limits/Limits.h"
#include "server/limits/SessionGuard.h"
#include "server/startup/ControllerJournal.h"
#include "server/supervision/ServiceLevel.h"
#include "server/text/Cp866Literal.h"
#include "server/values/CreateVariables.h"
#include "server/values/UARTEXVariable.h"

namespace {

/// Reports the start. KEPT: the log is emptied right after the start line was written to it, so the
/// log of a run begins with the next line. Required by the interface.
void announceStart() {
    reportStarted(ServerVersion);
    getLoggerCtr().prepareRecord();
}

constexpr const char* kProcessName = "Opcua";

/// @return false when the name could not be registered; the reason is printed on standard error,
///         for the supervisor's log
bool registerProcess() {
    All = new vs_obj;
    // If one of them were taken for an answer of the database, all later answers would be shifted.
    All->dropStaleReplies();
    if (All->name_add(kProcessName, 0) != -1) return true;

    std::fprintf(stderr, "opcuasrv: \"%s\" is not registered: ", kProcessName);
    if (All->buf_names == nullptr) {
        std::fputs("the name registry cannot be attached\n", stderr);
    } else if (const int holder = All->name_find(kProcessName); holder != -1) {
        std::fprintf(stderr, "process %d has this name\n", holder);
    } else {
        std::fprintf(stderr, "all %d entries of the name registry are taken\n", kRegistryEntries);
    }
    return false;
}

/// @return whether any operative tree was built
bool publishOperativeData() {
    if (!uaserver.operativeDataMode()) return false;
    const bool flat = uaserver.initializeOperativeTree() == UA_STATUSCODE_GOOD;
    const bool grouped = uaserver.initializeOperativeTreeGroup() == UA_STATUSCODE_GOOD;
    return flat || grouped;
}

/// @return whether the historical tree was built
bool publishHistoricalData(HistoryAccess& history) {
    if (!uaserver.historicalDataMode()) return false;
    const UA_StatusCode status =
        uaserver.initializeHistoryTree(history.backend(), history.gathering(), history.settings());
    history.announce(uaserver.instance());
    return status == UA_STATUSCODE_GOOD;
}

void configureEndpoint() {
    uaserver.setServerPort();
    uaserver.configurePort();
    UA_ServerConfig& config = *UA_Server_getConfig(uaserver.instance());
    applyLimits(config, provideDescriptors(wantedDescriptors()));
    uaserver.denyNodeManagement();
    uaserver.setSourcesSampleInterval();
    uaserver.configureSubscriptionLimits();
    uaserver.setApplicationName();
    uaserver.configureApplicationName();
}

void callEverySecond(void (*function)()) {
    constexpr double kPeriodMs = 1000.0;
    const auto call = [](UA_Server* /*server*/, void* data) {
        reinterpret_cast<void (*)()>(data)();
    };
    // If this fails, free memory is not returned to the system.
    (void)UA_Server_addRepeatedCallback(uaserver.instance(), call,
                                        reinterpret_cast<void*>(function), kPeriodMs, nullptr);
}

void unregisterProcess() {
    delete All;
    All = nullptr;
}

}  // namespace

std::string modeTextCp866(bool operative, bool historical) {
    if (operative) return historical ? "теги OA+HA"_cp866 : "теги OA"_cp866;
    return historical ? "теги HA"_cp866 : std::string();
}

int runStartupSequence(void (*returnFreeMemory)()) {
    ControllerJournal journal(Rolling);
    // KEPT: without the journal the process neither exits nor reports. Required by the interface.
    if (journal.open() != 0) sleepForever();
    announceStart();
    if (!registerProcess()) return -1;

    declareSchema(ListSections::getInstance());
    (void)IniConfigManager::instance().loadConfig(iniFilePath);  // reports for itself
    for (const VariableType kind : kStartOrder) {
        createVariables(kind);
    }

    const bool operative = publishOperativeData();
    missAttrManager.sendMessage();
    HistoryAccess history;
    history.install(uaserver.instance());
    configureEndpoint();
    const bool historical = publishHistoricalData(history);

    const ServiceLevel serviceLevel(uaserver.instance(), DatabaseWatch(UARTEXVariable::veskdb));
    const SessionGuard sessionGuard(uaserver.instance());
    callEverySecond(returnFreeMemory);
    uaserver.run(modeTextCp866(operative, historical));
    unregisterProcess();
    return 0;
}
