// The baseline of bench/run: the cost of the OPC UA library alone. A server with the node ids,
// names, texts and references of the operative tree's analog inputs, whose values are floats in an
// array.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include <open62541/plugin/log_stdout.h>
#include <open62541/server.h>
#include <open62541/server_config_default.h>
#include <CLI/CLI.hpp>

#include "bench/bare_history.h"
#include "server/bounds/ConfigBounds.h"
#include "server/opcua/UaView.h"

namespace {

struct Attribute {
    std::string name;    // UTF-8
    std::string number;  // decimal, as in the node id
};

struct Options {
    std::uint16_t port = kFirstPort;
    std::size_t tags = 0;
    std::size_t changeEvery = 0;  // every such tag changes its values; 0: none
    std::vector<Attribute> attributes;
    bool writable = false;
    std::size_t pens = 0;       // historical nodes
    std::size_t penValues = 0;  // of each
};

// The server's default sampling interval, which is its lower limit for publishing and sampling too.
constexpr double kSamplingIntervalMs = kDefaultIntervalMs;

// Any fixed instant will do: 2026-01-01 00:00 UTC in 100 ns ticks since 1601.
constexpr UA_DateTime kSourceTime = UA_DATETIME_UNIX_EPOCH + 1767225600LL * UA_DATETIME_SEC;

UA_NodeId ns0(UA_UInt32 id) {
    return UA_NODEID_NUMERIC(0, id);
}

/// Read callback: the minimum for a server with its own values. Status and source time are constant
/// but present, so that the answers are as long on the wire as those of the other server.
UA_StatusCode readFloat(UA_Server*, const UA_NodeId*, void*, const UA_NodeId*, void* nodeContext,
                        bool, const UA_NumericRange*, UA_DataValue* value) noexcept {
    value->hasValue = true;
    value->hasStatus = true;
    value->hasSourceTimestamp = true;
    value->status = UA_STATUSCODE_GOOD;
    value->sourceTimestamp = kSourceTime;
    return UA_Variant_setScalarCopy(&value->value, nodeContext, &UA_TYPES[UA_TYPES_FLOAT]);
}

/// A value that differs at every read. The change costs only one addition, so the comparison does
/// not favour the server whose values another process changes.
UA_StatusCode readChanging(UA_Server* server, const UA_NodeId* sessionId, void* sessionContext,
                           const UA_NodeId* nodeId, void* nodeContext, bool sourceTime,
                           const UA_NumericRange* range, UA_DataValue* value) noexcept {
    *static_cast<float*>(nodeContext) += 1.0F;
    return readFloat(server, sessionId, sessionContext, nodeId, nodeContext, sourceTime, range,
                     value);
}

/// The counterpart for writes.
UA_StatusCode writeFloat(UA_Server*, const UA_NodeId*, void*, const UA_NodeId*, void* nodeContext,
                         const UA_NumericRange*, const UA_DataValue* value) noexcept {
    if (!UA_Variant_hasScalarType(&value->value, &UA_TYPES[UA_TYPES_FLOAT])) {
        return UA_STATUSCODE_BADTYPEMISMATCH;
    }
    *static_cast<float*>(nodeContext) = *static_cast<float*>(value->value.data);
    return UA_STATUSCODE_GOOD;
}

class BareServer {
  public:
    explicit BareServer(const Options& options)
        : options_(options), values_(options.tags * options.attributes.size(), 20.5F) {}
    BareServer(const BareServer&) = delete;
    BareServer& operator=(const BareServer&) = delete;
    ~BareServer() { UA_Server_delete(server_); }

    /// Makes the server and its tree. @return the status of the first call that failed
    [[nodiscard]] UA_StatusCode build();
    /// Serves until SIGINT.
    [[nodiscard]] UA_StatusCode run() { return UA_Server_runUntilInterrupt(server_); }

  private:
    UA_StatusCode configure();
    UA_NodeId named(const std::string& id) const { return uaNodeIdView(ns_, id); }
    UA_StatusCode addFolder(std::uint32_t id, const std::string& name, const UA_NodeId& parent);
    UA_StatusCode addTag(std::size_t index);
    UA_StatusCode addValue(const std::string& structure, const Attribute& attribute, bool changes,
                           float* value);

    const Options& options_;
    std::vector<float> values_;  // by tag, then attribute; the nodes' contexts point into it
    UA_Server* server_ = nullptr;
    UA_UInt16 ns_ = 0;
};

UA_StatusCode BareServer::configure() {
    server_ = UA_Server_new();
    if (server_ == nullptr) return UA_STATUSCODE_BADOUTOFMEMORY;
    UA_ServerConfig* config = UA_Server_getConfig(server_);
    const UA_StatusCode status =
        UA_ServerConfig_setMinimalCustomBuffer(config, options_.port, nullptr, 0, 0);
    if (status != UA_STATUSCODE_GOOD) return status;
    // Changed in place: the event loop keeps the logger's address.
    UA_Logger quiet = UA_Log_Stdout_withLevel(UA_LOGLEVEL_ERROR);
    quiet.clear = config->logging->clear;
    *config->logging = quiet;
    config->publishingIntervalLimits = {kSamplingIntervalMs, 3600.0e3};
    config->samplingIntervalLimits = {kSamplingIntervalMs, 24 * 3600.0e3};
    ns_ = UA_Server_addNamespace(server_, "urn:vesk");
    return UA_STATUSCODE_GOOD;
}

UA_StatusCode BareServer::addFolder(std::uint32_t id, const std::string& name,
                                    const UA_NodeId& parent) {
    UA_ObjectAttributes attributes = UA_ObjectAttributes_default;
    attributes.displayName = uaTextView("en-US", name);
    return UA_Server_addObjectNode(server_, UA_NODEID_NUMERIC(ns_, id), parent,
                                   ns0(UA_NS0ID_ORGANIZES), uaNameView(ns_, name),
                                   ns0(UA_NS0ID_FOLDERTYPE), attributes, nullptr, nullptr);
}

UA_StatusCode BareServer::addValue(const std::string& structure, const Attribute& attribute,
                                   bool changes, float* value) {
    const std::string id =
        "Operative.1_VA." + structure + "." + attribute.name + ".A" + attribute.number;
    const std::string description = structure + ".A" + attribute.number;
    UA_VariableAttributes attributes = UA_VariableAttributes_default;
    attributes.displayName = uaTextView("ru-RU", attribute.name);
    attributes.description = uaTextView("ru-RU", description);
    attributes.accessLevel = UA_ACCESSLEVELMASK_READ;
    UA_CallbackValueSource source{};
    source.read = changes ? readChanging : readFloat;
    if (options_.writable) {
        attributes.accessLevel |= UA_ACCESSLEVELMASK_WRITE;
        source.write = writeFloat;
    }
    return UA_Server_addCallbackValueSourceVariableNode(
        server_, named(id), named(structure), ns0(UA_NS0ID_HASCOMPONENT),
        uaNameView(ns_, attribute.name), ns0(UA_NS0ID_BASEDATAVARIABLETYPE), attributes, source,
        value, nullptr);
}

UA_StatusCode BareServer::addTag(std::size_t index) {
    const std::string id = "VA_" + std::to_string(index + 1);
    UA_ObjectAttributes attributes = UA_ObjectAttributes_default;
    attributes.displayName = uaTextView("ru-RU", id);
    attributes.description = uaTextView("ru-RU", id);
    UA_StatusCode status = UA_Server_addObjectNode(
        server_, named(id), UA_NODEID_NUMERIC(ns_, 1), ns0(UA_NS0ID_HASCOMPONENT),
        uaNameView(ns_, id), ns0(UA_NS0ID_BASEOBJECTTYPE), attributes, nullptr, nullptr);
    const bool changes = options_.changeEvery != 0 && index % options_.changeEvery == 0;
    float* value = values_.data() + index * options_.attributes.size();
    for (const Attribute& attribute : options_.attributes) {
        if (status != UA_STATUSCODE_GOOD) return status;
        status = addValue(id, attribute, changes, value++);
    }
    return status;
}

UA_StatusCode BareServer::build() {
    UA_StatusCode status = configure();
    if (status == UA_STATUSCODE_GOOD)
        status = addFolder(6, "Operative", ns0(UA_NS0ID_OBJECTSFOLDER));
    if (status == UA_STATUSCODE_GOOD) status = addFolder(1, "1_VA", UA_NODEID_NUMERIC(ns_, 6));
    for (std::size_t i = 0; i < options_.tags && status == UA_STATUSCODE_GOOD; ++i) {
        status = addTag(i);
    }
    if (status == UA_STATUSCODE_GOOD && options_.pens != 0) {
        status = bench::addBareHistory(server_, ns_, options_.pens, options_.penValues);
    }
    return status;
}

// "name=number"; throws what CLI11 shows as a usage error.
Attribute parseAttribute(const std::string& argument) {
    const std::size_t equals = argument.rfind('=');
    if (equals == std::string::npos || equals == 0 || equals + 1 == argument.size() ||
        argument.find_first_not_of("0123456789", equals + 1) != std::string::npos) {
        throw CLI::ValidationError("--attribute", "\"" + argument + "\" is not NAME=NUMBER");
    }
    return {argument.substr(0, equals), argument.substr(equals + 1)};
}

int run(int argc, char** argv) {
    Options options;
    CLI::App app{
        "Bare OPC UA server with the node ids of the operative tree, the baseline of "
        "bench/run. Ends at SIGINT."};
    app.add_option("--port", options.port, "TCP port")->capture_default_str();
    app.add_option("--tags", options.tags, "analog inputs VA_1 to VA_n")->capture_default_str();
    app.add_option_function<std::vector<std::string>>(
        "--attribute",
        [&](const std::vector<std::string>& arguments) {
            for (const auto& argument : arguments) {
                options.attributes.push_back(parseAttribute(argument));
            }
        },
        "attributes of every tag as NAME=NUMBER (UTF-8)");
    app.add_option("--change-every", options.changeEvery,
                   "the values of the first and every n-th tag after it change at each read");
    app.add_flag("--writable", options.writable, "the values can be written");
    app.add_option("--pens", options.pens, "historical nodes, pens of plotter 1");
    app.add_option("--pen-values", options.penValues, "values of each pen");
    CLI11_PARSE(app, argc, argv);

    BareServer server(options);
    UA_StatusCode status = server.build();
    if (status == UA_STATUSCODE_GOOD) status = server.run();
    if (status == UA_STATUSCODE_GOOD) return 0;
    (void)std::fprintf(stderr, "bench_bare_server: %s\n", UA_StatusCode_name(status));
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        (void)std::fprintf(stderr, "bench_bare_server: %s\n", error.what());
        return 1;
    }
}
