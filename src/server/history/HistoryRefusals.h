#pragma once

#include <open62541/plugin/historydatabase.h>

/// Completes a history database that can do no more than read raw values, so that whatever else a
/// client asks is refused for each node with BADHISTORYOPERATIONUNSUPPORTED (OPC 10000-11, 6.5).
/// By itself the library refuses some of it with a fault of the whole service, at which a client
/// may drop its connection, and the raw history of a node that has none as a matter of access
/// rights.
///
/// Modified, processed, interpolated values and events; every update that the library passes on. It
/// answers updates of structures, of events and at single times by itself, BADNOTSUPPORTED for
/// each.
/// @param database  with its `readRaw` set; the only one of the process
void refuseUnofferedHistory(UA_HistoryDatabase& database);
