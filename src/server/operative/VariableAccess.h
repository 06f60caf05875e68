#pragma once

#include <open62541/server.h>

// The callbacks of the value variables. The library calls them on the server's thread; it is C, so
// they throw nothing. UAServer::readNodeValue and writeNodeValue, their names in the interface,
// describe what they do.

UA_StatusCode readVariable(UA_Server* server, const UA_NodeId* sessionId, void* sessionContext,
                           const UA_NodeId* nodeId, void* nodeContext,
                           UA_Boolean includeSourceTimeStamp, const UA_NumericRange* range,
                           UA_DataValue* value) noexcept;

UA_StatusCode writeVariable(UA_Server* server, const UA_NodeId* sessionId, void* sessionContext,
                            const UA_NodeId* nodeId, void* nodeContext,
                            const UA_NumericRange* range, const UA_DataValue* value) noexcept;
