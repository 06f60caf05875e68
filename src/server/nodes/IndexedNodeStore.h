#pragma once

#include <open62541/plugin/nodestore.h>

/// Puts an index of value variables in front of a node store. A client names the node of each value
/// that it reads by a text; the library's store looks it up in a tree, whose nodes are scattered in
/// memory. The index keeps variables with a text as identifier itself and finds them in one step,
/// which also makes a large address space start faster. The underlying store keeps all other nodes.
///
/// While a writable node of the index is handed out for editing, and only then, it also allows
/// writing status and time; see EditedNodes.
///
/// Like the library's store, for one thread at a time.
/// @param store  taken over: the returned store's `free` frees it. As in the library's store, a
///               node from newNode() can be used without being inserted, and deleteNode() frees it.
/// @return the store to use instead; `store` itself when there is no memory for the index
UA_Nodestore* indexVariables(UA_Nodestore* store);
