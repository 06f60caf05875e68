#pragma once

#include <string>

#include "server/opcua/AddressSpace.h"
#include "server/opcua/UaHandle.h"

/// Adds a folder below `parent`, or below the Objects folder when that is null. A failure is not
/// reported: the fixed folders are made once, and nodes below a missing one report the failure.
/// @param name  UTF-8, browse and display name
void addFixedFolder(const AddressSpace& space, const UA_NodeId& id, const std::string& name,
                    const UA_NodeId* parent);

/// Finds or adds the folder "<parentNumber>_<name>" below a folder with a numeric id.
/// @param id  set to the folder's id, or left as it is after a failure
/// @return the status of the add that failed, which is logged too
UA_StatusCode findOrAddFolder(const AddressSpace& space, const char* name, int parentNumber,
                              OwnedNodeId& id);

/// Removes a folder with all references to it. A failure is not reported: a folder that could not
/// be made cannot be removed either.
void removeFolder(const AddressSpace& space, UA_UInt32 number);

[[nodiscard]] bool nodeExists(const AddressSpace& space, const UA_NodeId& id);
