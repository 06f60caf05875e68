#pragma once

#include <string>
#include <string_view>

#include "server/opcua/AddressSpace.h"

/// Adds the structure object of one tag below `parent`.
UA_StatusCode addStructureObject(const AddressSpace& space, const std::string& structId,
                                 const UA_NodeId& parent);

/// Removes a structure whose value variables failed, with all references to it, and logs that.
/// @param kindWord  "VA"
void rollBackStructure(const AddressSpace& space, const std::string& structId,
                       std::string_view kindWord);
