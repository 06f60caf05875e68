#include "server/UAServer.h"

#include <open62541/server_config_default.h>

#include <csignal>
#include <cstdint>
#include <stdexcept>

#include "server/config/GeneralSettings.h"
#include "server/config/IniConfigManager.h"
#include "server/connections/QueueingConnections.h"
#include "server/diagnostics/MsgHandler.h"
#include "server/diagnostics/OperatorMessages.h"
#include "server/diagnostics/SleepForever.h"
#include "server/endpoint/Capabilities.h"
#include "server/endpoint/ExclusivePort.h"
#include "server/endpoint/Identity.h"
#include "server/endpoint/TcpManager.h"
#include "server/limits/BoundedLog.h"
#include "server/limits/TimerTurns.h"
#include "server/operative/IndexedNodeStore.h"
#include "server/operative/UaView.h"
#include "server/text/ToUTF8Converter.h"

namespace {

constexpr UA_UInt32 kRootFolder = 84;

constexpr double kLongestPublishingMs = 3'600'000.0;  // one hour
constexpr double kLongestSamplingMs = 86'400'000.0;   // one day

const std::vector<Section>& sections() {
    return IniConfigManager::instance().getSections();
}

/// Cuts the library's standard-output log. In place, because the event loop and others hold
/// pointers to the logger that the configuration was made with; it stays allocated as the library
/// made it.
void setLogLevel(UA_ServerConfig& config, int level) {
    UA_Logger logger = boundedLog(static_cast<UA_LogLevel>(level));
    logger.clear = config.logging->clear;
    *config.logging = logger;
}

/// The library's minimal configuration, without message security, and who we are. It adds its
/// endpoint and security policy to those that are there, so that a client would be offered the same
/// one again for each call: the former ones are dropped first.
void setMinimalConfig(UA_ServerConfig& config, UA_UInt16 port) {
    for (std::size_t i = 0; i < config.securityPoliciesSize; ++i) {
        config.securityPolicies[i].clear(&config.securityPolicies[i]);
    }
    UA_free(config.securityPolicies);
    config.securityPolicies = nullptr;
    config.securityPoliciesSize = 0;
    UA_Array_delete(config.endpoints, config.endpointsSize,
                    &UA_TYPES[UA_TYPES_ENDPOINTDESCRIPTION]);
    config.endpoints = nullptr;
    config.endpointsSize = 0;
    (void)UA_ServerConfig_setMinimalCustomBuffer(&config, port, nullptr, 0, 0);
    setIdentity(config);
}

// ---- Access control ----------------------------------------------------------------------------

template <class Item>
UA_Boolean denied(UA_Server* /*server*/, UA_AccessControl* /*ac*/, const UA_NodeId* /*sessionId*/,
                  void* /*sessionContext*/, const Item* /*item*/) {
    return false;
}

// ---- End of the server loop --------------------------------------------------------------------

pthread_t loopThread;  // set before the handler that reads it is installed

/// The library ends its loop on a SIGINT that waits, blocked, for the loop's thread. A SIGTERM, and
/// a SIGINT that another thread took, become one. What is still waiting when the loop has ended is
/// delivered to that thread and changes nothing.
void passOnToLoop(int signal) {
    if (signal == SIGTERM || pthread_equal(pthread_self(), loopThread) == 0) {
        (void)pthread_kill(loopThread, SIGINT);
    }
}

/// From here on SIGINT and SIGTERM end the loop, also one that begins later, and never the process.
/// That stays so when the loop has ended: the clean-up may take long, and is not to be cut off.
void endLoopOnSignals() {
    loopThread = pthread_self();
    sigset_t interrupt;
    sigemptyset(&interrupt);
    sigaddset(&interrupt, SIGINT);
    // The library blocks it too, later, and unblocks it after its loop.
    (void)pthread_sigmask(SIG_BLOCK, &interrupt, nullptr);
    struct sigaction action {};
    action.sa_handler = passOnToLoop;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (const int signal : {SIGINT, SIGTERM}) {
        (void)sigaction(signal, &action, nullptr);  // cannot fail for a valid signal
    }
}

}  // namespace

UAServer::UAServer() : rootId_(UA_NODEID_NUMERIC(0, kRootFolder)), server_(UA_Server_new()) {
    if (server_ == nullptr) throw std::runtime_error("Failed to create server instance");
    UA_ServerConfig* const config = UA_Server_getConfig(server_);
    setMinimalConfig(*config, kFirstPort);
    setLogLevel(*config, logLevel_);
    UA_ConnectionManager* const tcp = tcpManager(*config);
    if (tcp == nullptr) throw std::runtime_error("Failed to create server instance");
    listenExclusively(*tcp);
    if (!queueAnswers(*tcp) || !giveTimersTurns(*config->eventLoop))
        throw std::runtime_error("Failed to create server instance");
    config->nodestore = indexVariables(config->nodestore);
    namespaceIndex_ = UA_Server_addNamespace(server_, "urn:vesk");
    // What cannot be announced is no reason not to serve.
    (void)announceCapabilities(server_);
}

UAServer::~UAServer() {
    UA_NodeId_clear(&rootId_);
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
    // The address space is the controller's: no client may change it, whatever the library was
    // built with. Our own calls use the library's local session, which is not asked.
    UA_AccessControl& access = UA_Server_getConfig(server_)->accessControl;
    access.allowAddNode = denied<UA_AddNodesItem>;
    access.allowAddReference = denied<UA_AddReferencesItem>;
    access.allowDeleteNode = denied<UA_DeleteNodesItem>;
    access.allowDeleteReference = denied<UA_DeleteReferencesItem>;
}

// ---- Running -----------------------------------------------------------------------------------

void UAServer::run(const std::string& modeText) {
    endLoopOnSignals();
    reportRunning(modeText);
    const UA_StatusCode status = UA_Server_runUntilInterrupt(server_);
    if (status != UA_STATUSCODE_GOOD) reportStopped();
}
