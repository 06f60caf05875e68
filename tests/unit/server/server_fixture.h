#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <open62541/server.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "server/ServerState.h"
#include "server/config/ConfigState.h"
#include "server/config/IniConfigManager.h"
#include "server/config/ListSections.h"
#include "server/operative/UaView.h"
#include "server/text/Cp866Literal.h"
#include "server/variables/VariableTypeAV.h"
#include "server/variables/VariableTypeDV.h"
#include "server/variables/VariableTypeRV.h"
#include "server/variables/VariableTypeVA.h"
#include "server/variables/VariableTypeVD.h"
#include "support/child_process.h"
#include "support/controller_database.h"
#include "support/operator_view.h"

// For tests of the server against a controller's database: processes with a configuration of their
// own, and the address space as its clients see it.

// ---- A process with a configuration ------------------------------------------------------------

/// Prints each message as a line "journal 18094, 3, 4, ...".
class PrintingJournal : public EventJournal {
  public:
    void post(std::uint32_t number, const std::vector<JournalArgument>& arguments) override {
        std::cout << "journal ";
        PrintTo(RecordingJournal::Message{number, arguments}, &std::cout);
        std::cout << std::endl;
    }
};

inline void loadConfiguration(const std::string& iniCp866) {
    writeFile(iniFilePath, iniCp866);
    declareSchema(ListSections::getInstance());
    IniConfigManager::instance().loadConfig(iniFilePath);
}

template <class Variable>
void addVariables() {
    int number = 1;
    do
        rtexvariable.push_back(std::make_unique<Variable>());
    while (rtexvariable.back()->getCountVarFormObj(number++) == 0);
    rtexvariable.pop_back();
}

/// A process that has loaded this configuration, which a process can do once, and made the
/// variables of all kinds. Its journal is its standard output.
inline std::unique_ptr<ChildProcess> withConfiguration(const std::string& iniCp866,
                                                       const std::function<void(UAServer&)>& body) {
    return std::make_unique<ChildProcess>([=] {
        static PrintingJournal journal;
        installEventJournal(&journal);
        loadConfiguration(iniCp866);
        addVariables<VariableTypeVA>();
        addVariables<VariableTypeRV>();
        addVariables<VariableTypeAV>();
        addVariables<VariableTypeVD>();
        addVariables<VariableTypeDV>();
        UAServer server;
        body(server);
        return 0;
    });
}

// ---- The address space -------------------------------------------------------------------------

inline std::string toText(const UA_String& text) {
    return {reinterpret_cast<const char*>(text.data), text.length};
}

inline std::string toText(const UA_NodeId& id) {
    return id.identifierType == UA_NODEIDTYPE_STRING ? toText(id.identifier.string)
                                                     : std::to_string(id.identifier.numeric);
}

/// A node of the server's own namespace.
inline UA_NodeId node(const UAServer& server, UA_UInt32 number) {
    return UA_NODEID_NUMERIC(server.namespaceIndex(), number);
}
inline UA_NodeId node(const UAServer& server, std::string_view text) {
    return uaNodeIdView(server.namespaceIndex(), text);
}

/// The node's hierarchical children as "<reference type> <node id> <type definition>", sorted.
inline std::vector<std::string> children(const UAServer& server, const UA_NodeId& parent) {
    UA_BrowseDescription what{};
    what.nodeId = parent;
    what.referenceTypeId = UA_NODEID_NUMERIC(0, 33);
    what.includeSubtypes = true;
    what.resultMask = UA_BROWSERESULTMASK_ALL;
    UA_BrowseResult found = UA_Server_browse(server.instance(), 0, &what);
    std::vector<std::string> result;
    for (std::size_t i = 0; i < found.referencesSize; ++i) {
        const UA_ReferenceDescription& reference = found.references[i];
        if (reference.nodeId.nodeId.namespaceIndex != server.namespaceIndex()) continue;
        result.push_back(toText(reference.referenceTypeId) + ' ' + toText(reference.nodeId.nodeId) +
                         ' ' + toText(reference.typeDefinition.nodeId));
    }
    UA_BrowseResult_clear(&found);
    std::ranges::sort(result);
    return result;
}
