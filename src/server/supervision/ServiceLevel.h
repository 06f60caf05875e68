#pragma once

#include <open62541/server.h>

#include "lib/bd_vesk/databasewatch.h"

/// Maintains the standard's ServiceLevel (OPC 10000-5, 6.3.1): 255 while the database that the
/// server has loaded is the controller's, 1 while it is not and the values do not change. Checks
/// once a second. Server thread.
class ServiceLevel {
  public:
    /// @param server  not owned, outlives this object
    ServiceLevel(UA_Server* server, DatabaseWatch watch);
    /// Only after the server's loop has ended, because the node still refers to this object.
    ~ServiceLevel();
    ServiceLevel(const ServiceLevel&) = delete;
    ServiceLevel& operator=(const ServiceLevel&) = delete;

  private:
    static void look(UA_Server* server, void* self) noexcept;
    static UA_StatusCode read(UA_Server* server, const UA_NodeId* sessionId, void* sessionContext,
                              const UA_NodeId* nodeId, void* self,
                              UA_Boolean includeSourceTimeStamp, const UA_NumericRange* range,
                              UA_DataValue* value) noexcept;

    UA_Server* server_;
    DatabaseWatch watch_;
    UA_UInt64 timer_ = 0;
    UA_Byte level_ = 255;
};
