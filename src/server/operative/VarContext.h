#pragma once

#include <cstddef>
#include <memory>
#include <vector>

class UARTEXVariable;

/// Context of one value variable node: what its callbacks read and write. Owned by `varContexts`;
/// its address stays until the process ends.
struct VarContext {
    UARTEXVariable* variable = nullptr;  ///< of the tag; not owned
    int attributeNumber = 0;             ///< the number behind ".A" in the node id
    long timestamp = 0;  ///< UA_DateTime of the value that the node was made with; not used later

    VarContext(UARTEXVariable* of, int attribute) : variable(of), attributeNumber(attribute) {}

    /// Contexts lie side by side in blocks of their own. One by one they would lie scattered among
    /// the library's nodes, each on a line of memory that every read has to fetch. Main thread
    /// only.
    static void* operator new(std::size_t size);
    /// Gives nothing back: contexts live as long as the process.
    static void operator delete(void* context) noexcept;
};

using VarContexts = std::vector<std::unique_ptr<VarContext>>;

/// The contexts of all value variables. Only grows: the library keeps raw pointers into it, also
/// for nodes that were removed again.
extern VarContexts varContexts;
