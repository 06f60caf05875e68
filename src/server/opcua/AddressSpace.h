#pragma once

#include <open62541/server.h>

/// The nodes that the server publishes: the library's server and the index of our namespace in it.
/// Owns nothing.
struct AddressSpace {
    UA_Server* server = nullptr;
    UA_UInt16 ns = 0;

    [[nodiscard]] UA_NodeId numericId(UA_UInt32 number) const {
        return UA_NODEID_NUMERIC(ns, number);
    }
};
