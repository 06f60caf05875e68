#include "server/endpoint/ServerConfig.h"

#include <open62541/server_config_default.h>

#include "server/endpoint/Identity.h"
#include "server/limits/BoundedLog.h"

namespace {

template <class Item>
UA_Boolean denied(UA_Server* /*server*/, UA_AccessControl* /*ac*/, const UA_NodeId* /*sessionId*/,
                  void* /*sessionContext*/, const Item* /*item*/) {
    return false;
}

}  // namespace

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

void setLogLevel(UA_ServerConfig& config, UA_LogLevel level) {
    UA_Logger logger = boundedLog(level);
    logger.clear = config.logging->clear;
    *config.logging = logger;
}

void denyNodeManagement(UA_ServerConfig& config) {
    UA_AccessControl& access = config.accessControl;
    access.allowAddNode = denied<UA_AddNodesItem>;
    access.allowAddReference = denied<UA_AddReferencesItem>;
    access.allowDeleteNode = denied<UA_DeleteNodesItem>;
    access.allowDeleteReference = denied<UA_DeleteReferencesItem>;
}
