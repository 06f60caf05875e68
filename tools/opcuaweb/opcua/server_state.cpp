#include "tools/opcuaweb/opcua/server_state.h"

#include <open62541/types_generated.h>

#include <array>

#include "tools/opcuaweb/opcua/reading.h"

namespace tools::opcuaweb {

namespace {

using namespace std::chrono_literals;

struct StateRow {
    const char* key;
    UA_UInt32 node;  // OPC 10000-5, Server object
};
constexpr StateRow kStateRows[] = {
    {"product", UA_NS0ID_SERVER_SERVERSTATUS_BUILDINFO_PRODUCTNAME},
    {"version", UA_NS0ID_SERVER_SERVERSTATUS_BUILDINFO_SOFTWAREVERSION},
    {"state", UA_NS0ID_SERVER_SERVERSTATUS_STATE},
    {"startTime", UA_NS0ID_SERVER_SERVERSTATUS_STARTTIME},
    {"serviceLevel", UA_NS0ID_SERVER_SERVICELEVEL},
};

Json stateValue(const UA_DataValue& value) {
    if (!value.hasValue) return nullptr;
    if (UA_Variant_hasScalarType(&value.value, &UA_TYPES[UA_TYPES_DATETIME])) {
        return unixMs(*static_cast<const UA_DateTime*>(value.value.data));
    }
    return shownValue(value.value);
}

/// The application's name as the endpoints state it; empty without an answer.
std::string nameOf(const Session& session) {
    std::vector<Endpoint> endpoints;
    static_cast<void>(findEndpoints(session.url(), 5s, endpoints));
    return endpoints.empty() ? "" : endpoints.front().applicationName;
}

void readState(Session& session, Json& state) {
    std::array<UA_NodeId, std::size(kStateRows)> ids{};
    std::vector<const UA_NodeId*> nodes(ids.size());
    for (std::size_t i = 0; i < ids.size(); ++i) {
        ids[i] = UA_NODEID_NUMERIC(0, kStateRows[i].node);
        nodes[i] = &ids[i];
    }
    std::vector<DataValue> values;
    if (session.read(nodes, UA_ATTRIBUTEID_VALUE, values) != UA_STATUSCODE_GOOD) return;
    for (std::size_t i = 0; i < values.size(); ++i) {
        state[kStateRows[i].key] = stateValue(*values[i]);
    }
}

}  // namespace

Asker::Job ServerState::job() {
    return [this](Session* session) { return step(session); };
}

Json ServerState::state() const {
    const std::lock_guard lock(mutex_);
    return state_;
}

Asker::Step ServerState::step(Session* session) {
    if (session != nullptr && Clock::now() < next_) return Asker::Step::later;
    next_ = Clock::now() + 1s;
    if (session == nullptr) name_.reset();
    if (session != nullptr && !name_) name_ = nameOf(*session);
    Json state = {{"name", name_.value_or("")}};
    for (const StateRow& row : kStateRows) {
        state[row.key] = nullptr;
    }
    if (session != nullptr) readState(*session, state);
    const std::lock_guard lock(mutex_);
    state_ = std::move(state);
    return Asker::Step::later;
}

}  // namespace tools::opcuaweb
