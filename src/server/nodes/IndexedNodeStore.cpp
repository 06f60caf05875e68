#include "server/nodes/IndexedNodeStore.h"

#include <memory>
#include <new>
#include <vector>

#include "server/nodes/EditedNodes.h"
#include "server/nodes/HeldNodes.h"
#include "server/nodes/NodeTable.h"

namespace {

bool hasText(const UA_NodeId& id) {
    return id.identifierType == UA_NODEIDTYPE_STRING;
}

/// Variables only: when nobody holds a node, the library's store reorganises its references, which
/// matters for folders and types with many references.
bool isIndexed(const UA_Node& node) {
    return node.head.nodeClass == UA_NODECLASS_VARIABLE && hasText(node.head.nodeId);
}

/// Keeps the indexed nodes and counts their holders itself. A node that is removed or replaced
/// while it is held is freed after its last release. The underlying store makes and frees the
/// memory of all nodes, and keeps those for which the index has no room.
class IndexedNodeStore : public UA_Nodestore {
  public:
    explicit IndexedNodeStore(UA_Nodestore* inner);

    bool isMade() const { return table_.isMade(); }

  private:
    /// A copy that the library has not yet used to replace its original, nor deleted.
    struct Copy {
        const UA_Node* copy;
        const UA_Node* original;  ///< null when it has been removed or replaced meanwhile
    };

    static IndexedNodeStore& self(UA_Nodestore* store) {
        return *static_cast<IndexedNodeStore*>(store);
    }

    /// Forwards a call to the underlying store.
    template <auto Call, class... Arguments>
    static auto passOn(UA_Nodestore* store, Arguments... arguments) {
        UA_Nodestore* const inner = self(store).inner_;
        return (inner->*Call)(inner, arguments...);
    }

    UA_Node* get(const UA_NodeId& id);
    UA_Node* getToEdit(const UA_NodeId& id);
    void release(const UA_Node* node);
    UA_StatusCode insert(UA_Node* node, UA_NodeId* addedId);
    UA_StatusCode copy(const UA_NodeId& id, UA_Node** outNode);
    UA_StatusCode replace(UA_Node* node);
    UA_StatusCode remove(const UA_NodeId& id);
    void deleteUnused(UA_Node* node);
    void iterateAll(UA_NodestoreVisitor visitor, void* context);
    void freeAll();

    UA_Node* known(const UA_NodeId& id);
    UA_Node* find(const UA_NodeId& id);
    UA_Node* getFromInner(const UA_NodeId& id);
    bool exists(const UA_NodeId& id);
    UA_StatusCode copyOwn(const UA_Node& original, UA_Node** outNode);
    const UA_Node* takeOriginal(const UA_Node* copy);
    void retire(UA_Node* node);
    void freeNode(UA_Node* node) { inner_->deleteNode(inner_, node); }

    UA_Nodestore* inner_;
    NodeTable table_;
    HeldNodes held_;
    EditedNodes edited_;
    std::vector<Copy> copies_;
};

// ---- Handing out and taking back ---------------------------------------------------------------

UA_Node* IndexedNodeStore::getFromInner(const UA_NodeId& id) {
    return inner_->getEditNode(inner_, &id, UA_NODEATTRIBUTESMASK_ALL, UA_REFERENCETYPESET_ALL,
                               UA_BROWSEDIRECTION_BOTH);
}

/// The node of the index with this id, or null.
UA_Node* IndexedNodeStore::known(const UA_NodeId& id) {
    // The table stores nodes as const, but they came from the library, which may change them.
    return hasText(id) ? const_cast<UA_Node*>(table_.find(id)) : nullptr;
}

UA_Node* IndexedNodeStore::find(const UA_NodeId& id) {
    UA_Node* const node = known(id);
    if (node == nullptr) return getFromInner(id);
    // Without memory to count the holder, this call reports the node as missing.
    return held_.add(*node) ? node : nullptr;
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
    switch (held_.remove(*node)) {
        case HeldNodes::Removed::unknown:
            inner_->releaseNode(inner_, node);
            break;
        case HeldNodes::Removed::lastOfRetired:
            freeNode(const_cast<UA_Node*>(node));
            break;
        case HeldNodes::Removed::held:
            break;
    }
}

// ---- Coming and going --------------------------------------------------------------------------

bool IndexedNodeStore::exists(const UA_NodeId& id) {
    if (known(id) != nullptr) return true;
    const UA_Node* const other = getFromInner(id);
    if (other != nullptr) inner_->releaseNode(inner_, other);
    return other != nullptr;
}

UA_StatusCode IndexedNodeStore::insert(UA_Node* node, UA_NodeId* addedId) {
    const UA_NodeId& id = node->head.nodeId;
    if (!hasText(id)) return inner_->insertNode(inner_, node, addedId);
    if (exists(id)) {
        freeNode(node);
        return UA_STATUSCODE_BADNODEIDEXISTS;
    }
    if (!isIndexed(*node) || !table_.add(*node)) return inner_->insertNode(inner_, node, addedId);
    if (addedId == nullptr) return UA_STATUSCODE_GOOD;
    const UA_StatusCode status = UA_NodeId_copy(&id, addedId);
    if (status != UA_STATUSCODE_GOOD) {
        table_.remove(*node);
        freeNode(node);
    }
    return status;
}

/// The node is no longer in the table.
void IndexedNodeStore::retire(UA_Node* node) {
    for (Copy& copy : copies_) {
        if (copy.original == node) copy.original = nullptr;
    }
    if (!held_.retire(*node)) freeNode(node);
}

UA_StatusCode IndexedNodeStore::remove(const UA_NodeId& id) {
    UA_Node* const node = known(id);
    if (node == nullptr) return inner_->removeNode(inner_, &id);
    table_.remove(*node);
    retire(node);
    return UA_STATUSCODE_GOOD;
}

// ---- Copies ------------------------------------------------------------------------------------

UA_StatusCode IndexedNodeStore::copyOwn(const UA_Node& original, UA_Node** outNode) {
    UA_Node* const made = inner_->newNode(inner_, original.head.nodeClass);
    if (made == nullptr) return UA_STATUSCODE_BADOUTOFMEMORY;
    UA_StatusCode status = UA_Node_copy(&original, made);
    try {
        if (status == UA_STATUSCODE_GOOD) copies_.push_back({made, &original});
    } catch (const std::bad_alloc&) {
        status = UA_STATUSCODE_BADOUTOFMEMORY;
    }
    if (status != UA_STATUSCODE_GOOD) {
        freeNode(made);
        return status;
    }
    *outNode = made;
    return UA_STATUSCODE_GOOD;
}

UA_StatusCode IndexedNodeStore::copy(const UA_NodeId& id, UA_Node** outNode) {
    const UA_Node* const own = known(id);
    const UA_StatusCode status =
        own != nullptr ? copyOwn(*own, outNode) : inner_->getNodeCopy(inner_, &id, outNode);
    if (status != UA_STATUSCODE_GOOD) return status;
    const UA_Node* const original = own != nullptr ? own : getFromInner(id);
    edited_.restore(*original, **outNode);
    if (own == nullptr) inner_->releaseNode(inner_, original);
    return status;
}

/// Forgets a copy. @return its original, or null when that is gone or the copy was not made here
const UA_Node* IndexedNodeStore::takeOriginal(const UA_Node* copy) {
    for (Copy& made : copies_) {
        if (made.copy != copy) continue;
        const UA_Node* const original = made.original;
        made = copies_.back();
        copies_.pop_back();
        return original;
    }
    return nullptr;
}

/// As the library's store: if the node has changed since, its copy is refused and freed.
UA_StatusCode IndexedNodeStore::replace(UA_Node* node) {
    const UA_Node* const original = takeOriginal(node);
    UA_Node* const present = known(node->head.nodeId);
    if (present == nullptr) return inner_->replaceNode(inner_, node);
    if (original != present) {
        freeNode(node);
        return UA_STATUSCODE_BADINTERNALERROR;
    }
    UA_Node_moveMonitoredItems(present, node);
    table_.replace(*present, *node);
    retire(present);
    return UA_STATUSCODE_GOOD;
}

/// A node that was never inserted, or a copy.
void IndexedNodeStore::deleteUnused(UA_Node* node) {
    static_cast<void>(takeOriginal(node));
    freeNode(node);
}

// ---- All nodes ---------------------------------------------------------------------------------

void IndexedNodeStore::iterateAll(UA_NodestoreVisitor visitor, void* context) {
    inner_->iterate(inner_, visitor, context);
    table_.forEach([&](const UA_Node& node) { visitor(context, &node); });
}

void IndexedNodeStore::freeAll() {
    table_.forEach([this](const UA_Node& node) { freeNode(const_cast<UA_Node*>(&node)); });
    inner_->free(inner_);
}

// ---- The library's interface -------------------------------------------------------------------

IndexedNodeStore::IndexedNodeStore(UA_Nodestore* inner) : UA_Nodestore(), inner_(inner) {
    free = [](UA_Nodestore* store) {
        const std::unique_ptr<IndexedNodeStore> ended(&self(store));
        ended->freeAll();
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

    newNode = passOn<&UA_Nodestore::newNode>;
    deleteNode = [](UA_Nodestore* store, UA_Node* node) { self(store).deleteUnused(node); };
    insertNode = [](UA_Nodestore* store, UA_Node* node, UA_NodeId* addedId) {
        return self(store).insert(node, addedId);
    };
    getNodeCopy = [](UA_Nodestore* store, const UA_NodeId* id, UA_Node** outNode) {
        return self(store).copy(*id, outNode);
    };
    replaceNode = [](UA_Nodestore* store, UA_Node* node) { return self(store).replace(node); };
    removeNode = [](UA_Nodestore* store, const UA_NodeId* id) { return self(store).remove(*id); };
    getReferenceTypeId = passOn<&UA_Nodestore::getReferenceTypeId>;
    iterate = [](UA_Nodestore* store, UA_NodestoreVisitor visitor, void* context) {
        self(store).iterateAll(visitor, context);
    };
}

}  // namespace

UA_Nodestore* indexVariables(UA_Nodestore* store) {
    std::unique_ptr<IndexedNodeStore> indexed(new (std::nothrow) IndexedNodeStore(store));
    return indexed && indexed->isMade() ? indexed.release() : store;
}
