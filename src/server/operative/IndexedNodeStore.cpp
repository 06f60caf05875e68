#include "server/operative/IndexedNodeStore.h"

#include <memory>
#include <new>

#include "server/operative/EditedNodes.h"
#include "server/operative/HeldNodes.h"
#include "server/operative/NodeTable.h"

namespace {

bool hasText(const UA_NodeId& id) {
    return id.identifierType == UA_NODEIDTYPE_STRING;
}

/// Variables only: the library's store tidies the references of a node when nobody holds it, which
/// matters for folders and types with many of them.
bool isIndexed(const UA_Node& node) {
    return node.head.nodeClass == UA_NODECLASS_VARIABLE && hasText(node.head.nodeId);
}

/// Holds each node of the index once in the store behind it, so that the node stays at its place,
/// and counts by itself how often the node is given out. A node may also have holders that got it
/// from the store behind: before there was memory to index it, or before it left the index and came
/// back. Holders have no identity and need none: those counted here are taken to go first, and the
/// rest are the store's.
class IndexedNodeStore : public UA_Nodestore {
  public:
    explicit IndexedNodeStore(UA_Nodestore* inner);

    bool isMade() const { return table_.isMade(); }

  private:
    static IndexedNodeStore& self(UA_Nodestore* store) {
        return *static_cast<IndexedNodeStore*>(store);
    }

    /// Has the store behind answer a call by itself.
    template <auto Call, class... Arguments>
    static auto passOn(UA_Nodestore* store, Arguments... arguments) {
        UA_Nodestore* const inner = self(store).inner_;
        return (inner->*Call)(inner, arguments...);
    }

    UA_Node* get(const UA_NodeId& id);
    UA_Node* getToEdit(const UA_NodeId& id);
    void release(const UA_Node* node);
    UA_StatusCode copy(const UA_NodeId& id, UA_Node** outNode);
    void forget(const UA_NodeId& id);
    UA_Node* find(const UA_NodeId& id);
    UA_Node* getFromInner(const UA_NodeId& id);

    UA_Nodestore* inner_;
    NodeTable table_;
    HeldNodes held_;
    EditedNodes edited_;
};

// ---- Giving out and taking back ----------------------------------------------------------------

UA_Node* IndexedNodeStore::getFromInner(const UA_NodeId& id) {
    return inner_->getEditNode(inner_, &id, UA_NODEATTRIBUTESMASK_ALL, UA_REFERENCETYPESET_ALL,
                               UA_BROWSEDIRECTION_BOTH);
}

UA_Node* IndexedNodeStore::find(const UA_NodeId& id) {
    if (!hasText(id)) return getFromInner(id);
    const UA_Node* const known = table_.find(id);
    if (known != nullptr && held_.add(*known)) {
        return const_cast<UA_Node*>(known);  // the store gave it out as editable
    }
    UA_Node* const node = getFromInner(id);
    if (node == nullptr || known != nullptr || !isIndexed(*node)) return node;
    // What was just got from the store is what the index holds, unless it cannot be counted.
    if (!held_.add(*node)) return node;
    if (!table_.add(*node)) held_.remove(*node);
    return node;
}

UA_Node* IndexedNodeStore::get(const UA_NodeId& id) {
    UA_Node* const node = find(id);
    if (node != nullptr) edited_.given(*node);
    return node;
}

UA_Node* IndexedNodeStore::getToEdit(const UA_NodeId& id) {
    UA_Node* const node = get(id);
    if (node != nullptr && isIndexed(*node)) edited_.edit(*node);
    return node;
}

void IndexedNodeStore::release(const UA_Node* node) {
    if (node == nullptr) return;
    edited_.released(*node);
    if (!held_.remove(*node)) inner_->releaseNode(inner_, node);
}

UA_StatusCode IndexedNodeStore::copy(const UA_NodeId& id, UA_Node** outNode) {
    const UA_StatusCode status = inner_->getNodeCopy(inner_, &id, outNode);
    if (status != UA_STATUSCODE_GOOD) return status;
    const UA_Node* const original = get(id);
    edited_.restore(*original, **outNode);
    release(original);
    return status;
}

/// Before the store removes or replaces a node: its present holders then hold it from the store.
void IndexedNodeStore::forget(const UA_NodeId& id) {
    const UA_Node* const node = hasText(id) ? table_.find(id) : nullptr;
    if (node == nullptr) return;
    while (held_.remove(*node))
        static_cast<void>(getFromInner(id));
    table_.remove(*node);
    inner_->releaseNode(inner_, node);
}

// ---- The library's interface -------------------------------------------------------------------

IndexedNodeStore::IndexedNodeStore(UA_Nodestore* inner) : UA_Nodestore(), inner_(inner) {
    free = [](UA_Nodestore* store) {
        const std::unique_ptr<IndexedNodeStore> ended(&self(store));
        ended->inner_->free(ended->inner_);
    };

    getNode = [](UA_Nodestore* store, const UA_NodeId* id, UA_UInt32, UA_ReferenceTypeSet,
                 UA_BrowseDirection) -> const UA_Node* { return self(store).get(*id); };
    getEditNode = [](UA_Nodestore* store, const UA_NodeId* id, UA_UInt32, UA_ReferenceTypeSet,
                     UA_BrowseDirection) { return self(store).getToEdit(*id); };
    getNodeFromPtr = [](UA_Nodestore* store, UA_NodePointer pointer, UA_UInt32, UA_ReferenceTypeSet,
                        UA_BrowseDirection) -> const UA_Node* {
        if (!UA_NodePointer_isLocal(pointer)) return nullptr;
        return self(store).get(UA_NodePointer_toNodeId(pointer));
    };
    getEditNodeFromPtr = [](UA_Nodestore* store, UA_NodePointer pointer, UA_UInt32,
                            UA_ReferenceTypeSet, UA_BrowseDirection) -> UA_Node* {
        if (!UA_NodePointer_isLocal(pointer)) return nullptr;
        return self(store).getToEdit(UA_NodePointer_toNodeId(pointer));
    };
    releaseNode = [](UA_Nodestore* store, const UA_Node* node) { self(store).release(node); };

    getNodeCopy = [](UA_Nodestore* store, const UA_NodeId* id, UA_Node** outNode) {
        return self(store).copy(*id, outNode);
    };
    replaceNode = [](UA_Nodestore* store, UA_Node* node) {
        self(store).forget(node->head.nodeId);
        return passOn<&UA_Nodestore::replaceNode>(store, node);
    };
    removeNode = [](UA_Nodestore* store, const UA_NodeId* id) {
        self(store).forget(*id);
        return passOn<&UA_Nodestore::removeNode>(store, id);
    };

    newNode = passOn<&UA_Nodestore::newNode>;
    deleteNode = passOn<&UA_Nodestore::deleteNode>;
    insertNode = passOn<&UA_Nodestore::insertNode>;
    getReferenceTypeId = passOn<&UA_Nodestore::getReferenceTypeId>;
    iterate = passOn<&UA_Nodestore::iterate>;
}

}  // namespace

UA_Nodestore* indexVariables(UA_Nodestore* store) {
    std::unique_ptr<IndexedNodeStore> indexed(new (std::nothrow) IndexedNodeStore(store));
    return indexed && indexed->isMade() ? indexed.release() : store;
}
