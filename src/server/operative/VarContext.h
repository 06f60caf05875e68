#pragma once

class UARTEXVariable;

/// Context of one value variable node: what its callbacks read and write. Owned by `varContexts`;
/// its address stays until the process ends.
struct VarContext {
    UARTEXVariable* variable = nullptr;  ///< of the tag; not owned
    int attributeNumber = 0;             ///< the number behind ".A" in the node id
    long timestamp = 0;  ///< UA_DateTime of the value that the node was made with; not used later
};
