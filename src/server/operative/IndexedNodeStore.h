#pragma once

#include <open62541/plugin/nodestore.h>

/// Puts an index of value variables in front of a node store. A client names the node of each value
/// that it reads by a text; the library's store looks that up in a tree, each step at another place
/// in memory. The index answers in one step for variables with a text as identifier. The store
/// behind it owns all nodes, answers for the others, and makes every change.
///
/// A writable node of the index also allows writing status and time while it is given out for
/// editing, and only then; see EditedNodes.
///
/// Like the library's store, for one thread at a time.
/// @param store  taken over: the returned store's `free` frees it. It must keep a node at its place
///               as long as somebody holds it, as the library's does.
/// @return what stands in for `store`; `store` itself when there is no memory for the index
UA_Nodestore* indexVariables(UA_Nodestore* store);
