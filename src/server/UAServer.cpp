#include "server/UAServer.h"

#include <open62541/server_config_default.h>

#include <stdexcept>

#include "server/config/GeneralSettings.h"
#include "server/config/IniConfigManager.h"
#include "server/connections/QueueingConnections.h"
#include "server/diagnostics/MsgHandler.h"
#include "server/diagnostics/OperatorMessages.h"
#include "server/diagnostics/SleepForever.h"
#include "server/endpoint/Capabilities.h"
#include "server/endpoint/ExclusivePort.h"
#include "server/endpoint/LoopSignals.h"
#include "server/endpoint/ServerConfig.h"
#include "server/endpoint/TcpManager.h"
#include "server/history/HistoricalTree.h"
#include "server/limits/TimerTurns.h"
#include "server/nodes/IndexedNodeStore.h"
#include "server/opcua/UaView.h"
#include "server/operative/Folders.h"
#include "server/operative/GroupedTree.h"
#include "server/operative/OperativeTree.h"
#include "server/operative/VarContext.h"
#include "server/operative/VariableAccess.h"
#include "server/plan/TreeNames.h"
#include "server/text/ToUTF8Converter.h"

namespace {

constexpr UA_LogLevel kLogLevel = UA_LOGLEVEL_ERROR;

constexpr double kLongestPublishingMs = 3'600'000.0;  // one hour
constexpr double kLongestSamplingMs = 86'400'000.0;   // one day

const std::vector<Section>& sections() {
    return IniConfigManager::instance().getSections();
}

}  // namespace

UAServer::UAServer() : server_(UA_Server_new()), items_({}, varContexts) {
    if (server_ == nullptr) throw std::runtime_error("Failed to create server instance");
    UA_ServerConfig* const config = UA_Server_getConfig(server_);
    setMinimalConfig(*config, kFirstPort);
    setLogLevel(*config, kLogLevel);
    UA_ConnectionManager* const tcp = tcpManager(*config);
    if (tcp == nullptr) throw std::runtime_error("Failed to create server instance");
    listenExclusively(*tcp);
    if (!queueAnswers(*tcp) || !giveTimersTurns(*config->eventLoop))
        throw std::runtime_error("Failed to create server instance");
    config->nodestore = indexVariables(config->nodestore);
    namespaceIndex_ = UA_Server_addNamespace(server_, "urn:vesk");
    items_ = StructureItems(addressSpace(), varContexts);
    // A failure here is no reason not to serve.
    (void)announceCapabilities(server_);
}

UAServer::~UAServer() {
    if (server_ != nullptr) (void)UA_Server_delete(server_);
    server_ = nullptr;
}

// ---- Settings ----------------------------------------------------------------------------------

void UAServer::setServerPort() {
    const std::optional<int> port = readServerPort(sections());
    port_ = port.value_or(0);
    if (!port) sleepForever();
}

void UAServer::setApplicationName() {
    applicationNameCp866_ = applicationNameCp866(sections());
}

std::string UAServer::applicationNameUtf8() const {
    return ToUTF8Converter::convertCP866ToUtf8_manual(applicationNameCp866_);
}

bool UAServer::operativeDataMode() const {
    return switchedOn(sections(), "OperativeData");
}

bool UAServer::historicalDataMode() const {
    return switchedOn(sections(), "HistoricalData");
}

void UAServer::setSourcesSampleInterval() {
    samplingIntervalMs_ =
        readSamplingInterval(sections(), getMsgHandler().getCycleTimeMsg(), samplingIntervalMs_);
}

// ---- The library's configuration ---------------------------------------------------------------

void UAServer::configurePort() {
    setMinimalConfig(*UA_Server_getConfig(server_), static_cast<UA_UInt16>(port_));
}

void UAServer::configureSubscriptionLimits() {
    UA_ServerConfig* const config = UA_Server_getConfig(server_);
    config->publishingIntervalLimits = {samplingIntervalMs_, kLongestPublishingMs};
    config->samplingIntervalLimits = {samplingIntervalMs_, kLongestSamplingMs};
}

void UAServer::configureApplicationName() {
    if (applicationNameCp866_.empty()) return;  // the library's default stays
    const std::string name = applicationNameUtf8();
    const UA_LocalizedText text = uaTextView("ru-RU", name);
    UA_LocalizedText& applicationName =
        UA_Server_getConfig(server_)->applicationDescription.applicationName;
    UA_LocalizedText_clear(&applicationName);
    (void)UA_LocalizedText_copy(&text, &applicationName);
}

void UAServer::denyNodeManagement() {
    ::denyNodeManagement(*UA_Server_getConfig(server_));
}

// ---- Running -----------------------------------------------------------------------------------

void UAServer::run(const std::string& modeText) {
    endLoopOnSignals();
    reportRunning(modeText);
    const UA_StatusCode status = UA_Server_runUntilInterrupt(server_);
    if (status != UA_STATUSCODE_GOOD) reportStopped();
}

// ---- Folders -----------------------------------------------------------------------------------

void UAServer::createFolder(UA_NodeId requestedId, char* name, UA_NodeId* parent) {
    addFixedFolder(addressSpace(), requestedId, name, parent);
}

UA_StatusCode UAServer::createFolderRVGroup(const char* name, int parentNumber, UA_NodeId* outId) {
    OwnedNodeId folder;
    const UA_StatusCode status = findOrAddFolder(addressSpace(), name, parentNumber, folder);
    if (outId != nullptr) *outId = folder.release();
    return status;
}

// ---- Trees -------------------------------------------------------------------------------------

UA_StatusCode UAServer::initializeOperativeTree() {
    setApplicationName();
    items_ = StructureItems(addressSpace(), varContexts);
    return OperativeTree(addressSpace(), items_, sections()).build(applicationNameUtf8());
}

// NOLINTBEGIN(performance-unnecessary-value-param): the interface hands the text over by value
UA_StatusCode UAServer::createStructure(UARTEXVariable* variable, int tagNumber,
                                        std::string prefix) {
    return OperativeTree(addressSpace(), items_, sections())
        .addStructure(*variable, tagNumber, prefix);
}
// NOLINTEND(performance-unnecessary-value-param)

UA_StatusCode UAServer::createUAItems(UARTEXVariable* variable, int tagNumber,
                                      const std::string& parentId, const std::string& itemPrefix,
                                      const std::string& mode, int groupNumber,
                                      const std::map<int, int>& groupMap) {
    if (variable == nullptr || server_ == nullptr) return UA_STATUSCODE_BADINTERNALERROR;
    const auto source = entrySource(mode, groupNumber, groupMap);
    if (!source) return UA_STATUSCODE_GOOD;
    return items_.add(*variable, tagNumber, parentId, itemPrefix, sections(),
                      {*source, groupNumber});
}

UA_StatusCode UAServer::initializeOperativeTreeGroup() {
    return GroupedTree(addressSpace(), items_, sections()).build(applicationNameUtf8());
}

namespace {

/// Its display name, as the server shows it; empty when there is no such folder.
std::string folderName(const AddressSpace& space, int number) {
    OwnedLocalizedText name;
    (void)UA_Server_readDisplayName(space.server, space.numericId(static_cast<UA_UInt32>(number)),
                                    name.get());
    return std::string(textOf(name->text));
}

}  // namespace

UA_StatusCode UAServer::createStructureGroup(UARTEXVariable* variable, int tagNumber,
                                             const std::string& prefix, int groupFolder,
                                             const std::map<int, int>& groupMap) {
    return GroupedTree(addressSpace(), items_, sections())
        .addStructure(*variable, tagNumber, prefix,
                      {groupWithFolder(groupFolder, groupMap), groupFolder,
                       folderName(addressSpace(), groupFolder), TagLists{}});
}

namespace {

/// The folder "Historical", below one with the application's name when there is such a name.
void addHistoricalFolder(const AddressSpace& space, const std::string& applicationName) {
    const UA_NodeId application = space.numericId(kApplicationFolder);
    const bool named = !applicationName.empty();
    if (named) addFixedFolder(space, application, applicationName, nullptr);
    addFixedFolder(space, space.numericId(kHistoricalFolder), "Historical",
                   named ? &application : nullptr);
}

}  // namespace

UA_StatusCode UAServer::initializeHistoryTree(UA_HistoryDataBackend& backend,
                                              UA_HistoryDataGathering& gathering,
                                              UA_HistorizingNodeIdSettings& settings) {
    const std::string application = applicationNameUtf8();
    addHistoricalFolder(addressSpace(), application);
    return createHistoricalStructure(backend, gathering, settings, historicalPrefix(application));
}

UA_StatusCode UAServer::createHistoricalStructure(UA_HistoryDataBackend& backend,
                                                  UA_HistoryDataGathering& gathering,
                                                  UA_HistorizingNodeIdSettings& settings,
                                                  const std::string& baseName) {
    return HistoricalTree(addressSpace(), RtexContext)
        .build({backend, gathering, settings}, sections(), baseName);
}

UA_StatusCode UAServer::createHistoryTag(const UA_NodeId& parent, int plotter,
                                         const PenLists& penLists, IHDA_BrowseConfig& browse,
                                         UA_HistoryDataBackend& backend,
                                         UA_HistoryDataGathering& gathering,
                                         UA_HistorizingNodeIdSettings& settings,
                                         const std::string& folder, const std::string& baseName) {
    return HistoricalTree(addressSpace(), RtexContext)
        .addPlotter({backend, gathering, settings}, {plotter, parent, folder}, penLists, browse,
                    baseName);
}

std::string UAServer::formHistoryTagName(int plotter, int pen, int variableNum,
                                         std::string_view kindWord) const {
    return historyTagName(plotter, pen, variableNum, kindWord);
}

// ---- Callbacks ---------------------------------------------------------------------------------

UA_StatusCode UAServer::readNodeValue(UA_Server* server, const UA_NodeId* sessionId,
                                      void* sessionContext, const UA_NodeId* nodeId,
                                      void* nodeContext, UA_Boolean includeSourceTimeStamp,
                                      const UA_NumericRange* range, UA_DataValue* value) noexcept {
    return readVariable(server, sessionId, sessionContext, nodeId, nodeContext,
                        includeSourceTimeStamp, range, value);
}

UA_StatusCode UAServer::writeNodeValue(UA_Server* server, const UA_NodeId* sessionId,
                                       void* sessionContext, const UA_NodeId* nodeId,
                                       void* nodeContext, const UA_NumericRange* range,
                                       const UA_DataValue* value) noexcept {
    return writeVariable(server, sessionId, sessionContext, nodeId, nodeContext, range, value);
}
