// Configurations of any content, up to the resulting nodes: parsed, checked, and built over a small
// database and trend system as in the server's start.

#include <open62541/server.h>

#include "fuzz/support/fuzzing.h"
#include "server/ServerState.h"
#include "server/config/ConfigState.h"
#include "server/config/GeneralSettings.h"
#include "server/config/IniConfigManager.h"
#include "server/config/ListSections.h"
#include "server/history/RTEXContext.h"
#include "server/operative/VarContext.h"
#include "server/values/CreateVariables.h"
#include "server/values/UARTEXVariable.h"
#include "tests/support/controller_database.h"

// The server keeps contexts forever; here they are freed after each input, so that the address
// sanitizer detects the use of a freed one.
void* VarContext::operator new(std::size_t size) {
    return ::operator new(size);
}
void VarContext::operator delete(void* context) noexcept {
    ::operator delete(context);
}

namespace {

struct History {
    UA_HistoryDataBackend backend{};
    UA_HistoryDataGathering gathering{};
    UA_HistorizingNodeIdSettings settings{};
};

void buildTrees() {
    if (uaserver.operativeDataMode()) {
        require(uaserver.initializeOperativeTree() == UA_STATUSCODE_GOOD);
        require(uaserver.initializeOperativeTreeGroup() == UA_STATUSCODE_GOOD);
    }
    missAttrManager.sendMessage();
    uaserver.setApplicationName();
    uaserver.configureApplicationName();
    uaserver.setSourcesSampleInterval();
    static_cast<void>(readServerPort(IniConfigManager::instance().getSections()));
    if (uaserver.historicalDataMode()) {
        History history;
        history.gathering.registerNodeId = [](auto...) {
            return UA_StatusCode{UA_STATUSCODE_GOOD};
        };
        static_cast<void>(
            uaserver.initializeHistoryTree(history.backend, history.gathering, history.settings));
    }
}

/// Everything that was built is below one of these.
void removeTrees() {
    for (const UA_UInt32 folder : {8U, 6U, 7U})
        static_cast<void>(UA_Server_deleteNode(
            uaserver.instance(), UA_NODEID_NUMERIC(uaserver.namespaceIndex(), folder), true));
    varContexts.clear();
    RtexContext.plotterByNode.clear();
    RtexContext.penByNode.clear();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    std::ofstream("/zrt/settings/trends.ini")
        << "[Plotter_1]\nName = A\nPen_1 = VA, 1, float\nPen_2 = VD, 2, boolean\n"
           "[Plotter_2]\nPen_1 = AV, 1, double\n";
    for (std::uint8_t kind = 0; kind < 3; ++kind)  // of manual inputs: number, text, switch
        database.put(ControllerDatabase::Area::passport, 3, kind + 1, 27, kind);
    declareSchema(ListSections::getInstance());
    for (const VariableType kind : kStartOrder) {
        createVariables(kind);
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (!hasShortNumbersOnly(text, 4)) return 0;
    IniConfigManager::instance() = {};
    iniFilePath = inputFile(data, size);
    require(IniConfigManager::instance().loadConfig(iniFilePath));
    buildTrees();
    removeTrees();
    return 0;
}
