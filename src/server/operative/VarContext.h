#pragma once

#include <cstddef>
#include <memory>
#include <vector>

class UARTEXVariable;

/// Context of one value variable node: what its callbacks read and write. Owned by `varContexts`;
/// its address stays until the process ends.
struct VarContext {
    UARTEXVariable* variable = nullptr;  ///< of the tag; not owned
    int attributeNumber = 0;             ///< the number after ".A" in the node id
    long timestamp = 0;  ///< UA_DateTime of the value that the node was made with; not used later

    VarContext(UARTEXVariable* of, int attribute) : variable(of), attributeNumber(attribute) {}

    /// Contexts are stored side by side in their own blocks. Allocated one by one they would be
    /// scattered among the library's nodes, and every read would fetch another cache line. Main
    /// thread only.
    static void* operator new(std::size_t size);
    /// Frees nothing: contexts live as long as the process.
    static void operator delete(void* context) noexcept;
};

using VarContexts = std::vector<std::unique_ptr<VarContext>>;

/// The contexts of all value variables. Only grows: the library keeps raw pointers into it, also
/// for nodes that were removed again.
extern VarContexts varContexts;
