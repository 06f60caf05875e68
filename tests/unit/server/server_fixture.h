#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <open62541/server.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "server/ServerState.h"
#include "server/operative/UaView.h"
#include "support/capture.h"

// The address space as the server shows it to its clients.

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
