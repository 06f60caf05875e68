// Configurations of any content, up to the nodes that they give: parsed, checked, and built over a
// small database and trend system as the server's start does.

#include <open62541/server.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "fuzz/support/fuzzing.h"
#include "fuzz/support/ipc_in_process.h"
#include "lib/bd_vesk/bdvesk.h"
#include "server/ServerState.h"
#include "server/config/ConfigState.h"
#include "server/config/GeneralSettings.h"
#include "server/config/IniConfigManager.h"
#include "server/config/ListSections.h"
#include "server/history/RTEXContext.h"
#include "server/operative/VarContext.h"
#include "server/values/VariableTypeAV.h"
#include "server/values/VariableTypeDV.h"
#include "server/values/VariableTypeRV.h"
#include "server/values/VariableTypeVA.h"
#include "server/values/VariableTypeVD.h"

// The server keeps contexts for ever; here each input's are given back, and the address sanitizer
// sees the use of one that is gone.
void* VarContext::operator new(std::size_t size) {
    return ::operator new(size);
}
void VarContext::operator delete(void* context) noexcept {
    ::operator delete(context);
}

namespace {

constexpr std::uint16_t kTags = 3;  // of each kind

void layOutDatabase() {
    auto& counts = controller.segments[59] = std::vector<std::uint8_t>(26);
    for (std::size_t i = 0; i < kDescribedTypeCount; ++i) {
        const TableRow& row = kTables[i];
        counts[2 * i] = kTags;
        controller.segments[row.passportIndex] =
            std::vector<std::uint8_t>(kTags * row.passportSize);
        for (const int index : {row.curDatIndex, row.curValIndex})
            if (index != 0)
                controller.segments[index] =
                    std::vector<std::uint8_t>(kTags * elementSize(row.valueType));
        controller.replies.push_back({{}, kTags, {}, row.code, 0});
    }
    controller.segments[85] = std::vector<std::uint8_t>(kDescribedTypeCount * kTags * sizeof(TQF));
    for (std::size_t tag = 0; tag < kTags; ++tag)  // number, text, logical
        controller.segments[14][tag * sizeof(HAND_INP) + offsetof(HAND_INP, var_type)] =
            static_cast<std::uint8_t>(tag);
}

template <class... Kinds>
void addVariables() {
    for (int number = 1; number <= kTags; ++number) {
        (rtexvariable.push_back(std::make_unique<Kinds>()), ...);
        for (std::size_t i = rtexvariable.size() - sizeof...(Kinds); i < rtexvariable.size(); ++i)
            require(rtexvariable[i]->getCountVarFormObj(number) == 0);
    }
}

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

/// Everything that was built hangs below one of these.
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
    describeAttributes();
    std::filesystem::create_directories("/zrt/settings");
    std::ofstream("/zrt/settings/trends.ini")
        << "[Plotter_1]\nName = A\nPen_1 = VA, 1, float\nPen_2 = VD, 2, boolean\n"
           "[Plotter_2]\nPen_1 = AV, 1, double\n";
    layOutDatabase();
    declareSchema(ListSections::getInstance());
    addVariables<VariableTypeVA, VariableTypeRV, VariableTypeAV, VariableTypeVD, VariableTypeDV>();
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
