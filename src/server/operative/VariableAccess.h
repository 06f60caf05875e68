#pragma once

#include <open62541/server.h>

// The callbacks of the value variables. The library calls them on the server's thread; as it is C,
// nothing is thrown. What they do stands with UAServer::readNodeValue and writeNodeValue, the names
// that the interface gives them.

UA_StatusCode readVariable(UA_Server* server, const UA_NodeId* sessionId, void* sessionContext,
                           const UA_NodeId* nodeId, void* nodeContext,
                           UA_Boolean includeSourceTimeStamp, const UA_NumericRange* range,
                           UA_DataValue* value) noexcept;

UA_StatusCode writeVariable(UA_Server* server, const UA_NodeId* sessionId, void* sessionContext,
                            const UA_NodeId* nodeId, void* nodeContext,
                            const UA_NumericRange* range, const UA_DataValue* value) noexcept;
