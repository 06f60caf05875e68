#pragma once

#include <string>
#include <vector>

#include <open62541/types.h>

#include "server/opcua/UaHandle.h"

namespace bench {

class UaConnection;

/// What a server publishes below the Objects folder, without its own Server object.
class NodeListing {
  public:
    /// Browses the whole tree; throws UaError.
    explicit NodeListing(UaConnection& connection);

    /// One line for each reference: parent, type of reference, target with names, class and type.
    /// Sorted, so that two servers can be compared.
    const std::vector<std::string>& lines() const { return lines_; }
    /// Node ids of the variables, tag after tag as servers make them; owned by the listing.
    const std::vector<UA_NodeId>& variables() const { return variables_; }

  private:
    std::vector<UA_NodeId> browse(UaConnection& connection, const std::vector<UA_NodeId>& parents);
    /// Adds the references of a result, and the rest if the answer was cut.
    void addAll(UaConnection& connection, const UA_NodeId& parent, UA_BrowseResult& result,
                std::vector<UA_NodeId>& children);
    void add(const UA_NodeId& parent, UA_ReferenceDescription& reference,
             std::vector<UA_NodeId>& children);

    std::vector<std::string> lines_;
    std::vector<OwnedNodeId> ids_;      // of all nodes
    std::vector<UA_NodeId> variables_;  // views of some of them
};

/// A node id in the standard's notation, "ns=1;s=...".
std::string nodeIdText(const UA_NodeId& id);

}  // namespace bench
