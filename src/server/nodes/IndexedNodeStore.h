#pragma once

#include <open62541/plugin/nodestore.h>

/// Puts an index of value variables in front of a node store. A client names the node of each value
/// that it reads by a text; the library's store looks that up in a tree, each step at another place
/// in memory. The index keeps variables with a text as identifier itself and finds them in one
/// step, which also makes a large tree start faster. The store behind keeps all other nodes.
///
/// A writable node of the index also allows writing status and time while it is given out for
/// editing, and only then; see EditedNodes.
///
/// Like the library's store, for one thread at a time.
/// @param store  taken over: the returned store's `free` frees it. What its newNode() made can be
///               used without being inserted, and its deleteNode() frees it, as the library's do.
/// @return what stands in for `store`; `store` itself when there is no memory for the index
UA_Nodestore* indexVariables(UA_Nodestore* store);
