#pragma once

#include <open62541/plugin/historydatabase.h>

/// Completes a history database that can only read raw values, so that any other request is refused
/// for each node with BADHISTORYOPERATIONUNSUPPORTED (OPC 10000-11, 6.5). The library by itself
/// refuses some requests with a fault of the whole service, after which a client may drop its
/// connection, and answers raw reads of a node without history with a lack of access rights.
///
/// Covers modified, processed and interpolated values, events, and every update that the library
/// passes on. Updates of structures, of events and at single times are refused by the library
/// itself, with BADNOTSUPPORTED for each.
/// @param database  with its `readRaw` set; the only one of the process
void refuseUnofferedHistory(UA_HistoryDatabase& database);
