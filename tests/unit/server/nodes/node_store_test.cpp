#include <open62541/plugin/nodestore_default.h>

#include "server/nodes/IndexedNodeStore.h"
#include "server/opcua/UaView.h"
#include "tests/support/basics.h"

namespace {

bool noMemoryForTables = false;

}  // namespace

/// Allocates for arrays what may be refused: the slots of the table. Weak, because the thread
/// sanitizer brings its own, under which nothing is refused.
__attribute__((weak)) void* operator new[](std::size_t size,
                                           const std::nothrow_t& /*tag*/) noexcept {
    return noMemoryForTables ? nullptr : ::operator new[](size);
}

namespace {

using Version = std::uintptr_t;

int heldInside = 0;  // what was got from the store behind the index and not given back
int gotInside = 0;

UA_Nodestore* countingStore() {
    static UA_Nodestore made;
    UA_Nodestore* const store = UA_Nodestore_ZipTree();
    made = *store;
    heldInside = 0;
    store->getEditNode = [](UA_Nodestore* self, const UA_NodeId* id, UA_UInt32 mask,
                            UA_ReferenceTypeSet types, UA_BrowseDirection direction) {
        UA_Node* const node = made.getEditNode(self, id, mask, types, direction);
        if (node != nullptr) ++heldInside;
        ++gotInside;
        return node;
    };
    store->releaseNode = [](UA_Nodestore* self, const UA_Node* node) {
        --heldInside;
        made.releaseNode(self, node);
    };
    return store;
}

enum class Way { get, edit, getPointedAt, editPointedAt };

/// The library's store, or one with the index in front. Nodes carry a version as their context.
class Store {
  public:
    explicit Store(UA_Nodestore* store) : store_(store) {}
    ~Store() { store_->free(store_); }
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    static constexpr std::size_t kNodes = 1200;

    /// Variables and objects with texts as identifiers, and variables with numbers.
    static UA_NodeId id(std::size_t i) {
        static std::map<std::size_t, std::string> names;  // which the views look at
        return i % 4 == 3
                   ? UA_NODEID_NUMERIC(1, static_cast<UA_UInt32>(i))
                   : uaNodeIdView(1, names.try_emplace(i, "VA_" + std::to_string(i)).first->second);
    }

    /// Of the variables: all levels below 128.
    static UA_Byte level(std::size_t i) { return static_cast<UA_Byte>(i / 4 % 128); }

    UA_StatusCode insert(std::size_t i, Version version) {
        const bool isObject = i % 4 == 2;
        UA_Node* const node =
            store_->newNode(store_, isObject ? UA_NODECLASS_OBJECT : UA_NODECLASS_VARIABLE);
        const UA_NodeId view = id(i);
        EXPECT_EQ(UA_NodeId_copy(&view, &node->head.nodeId), UA_STATUSCODE_GOOD);
        node->head.context = reinterpret_cast<void*>(version);
        if (!isObject) node->variableNode.accessLevel = level(i);
        return store_->insertNode(store_, node, nullptr);
    }

    /// @return null for a node that is not there
    UA_Node* copy(std::size_t i, Version version) {
        UA_Node* made = nullptr;
        const UA_NodeId view = id(i);
        if (store_->getNodeCopy(store_, &view, &made) != UA_STATUSCODE_GOOD) return nullptr;
        made->head.context = reinterpret_cast<void*>(version);
        return made;
    }

    UA_StatusCode replace(UA_Node* copy) { return store_->replaceNode(store_, copy); }
    UA_StatusCode remove(std::size_t i) {
        const UA_NodeId view = id(i);
        return store_->removeNode(store_, &view);
    }

    const UA_Node* get(std::size_t i, Way way) {
        const UA_NodeId view = id(i);
        const UA_NodePointer pointer = UA_NodePointer_fromNodeId(&view);
        const auto none = UA_REFERENCETYPESET_NONE;
        const auto any = UA_BROWSEDIRECTION_INVALID;
        if (way == Way::get) return store_->getNode(store_, &view, 0, none, any);
        if (way == Way::edit) return store_->getEditNode(store_, &view, 0, none, any);
        return way == Way::getPointedAt ? store_->getNodeFromPtr(store_, pointer, 0, none, any)
                                        : store_->getEditNodeFromPtr(store_, pointer, 0, none, any);
    }

    void release(const UA_Node* node) { store_->releaseNode(store_, node); }

    std::size_t count() {
        std::size_t nodes = 0;
        store_->iterate(
            store_, [](void* sum, const UA_Node*) { ++*static_cast<std::size_t*>(sum); }, &nodes);
        return nodes;
    }

  private:
    UA_Nodestore* store_;
};

Version versionOf(const UA_Node* node) {
    return node == nullptr ? 0 : reinterpret_cast<Version>(node->head.context);
}

}  // namespace

/// Random calls of both stores. Holders of a node keep it unchanged, and a copy may be outdated
/// when it shall replace the node. The bits added to the level of an edited node are removed again,
/// and no copy has them; that they are added is tested through the write service. While there is no
/// memory for the table, the index accepts what fits.
TEST(IndexedNodeStore, AnswersLikeTheStoreBehindIt) {
    struct Pair {
        UA_Node *indexed, *plain;
    };
    Store indexed(indexVariables(countingStore()));
    Store plain(UA_Nodestore_ZipTree());
    std::mt19937 chance(2);
    std::vector<Pair> held, copies;
    std::map<const UA_Node*, int> holders;
    const auto takeOne = [&](std::vector<Pair>& pairs) {
        std::swap(pairs[chance() % pairs.size()], pairs.back());
        const Pair taken = pairs.back();
        pairs.pop_back();
        return taken;
    };
    const auto releaseOne = [&] {
        const Pair one = takeOne(held);
        ASSERT_EQ(versionOf(one.indexed), versionOf(one.plain));
        --holders[one.indexed];
        indexed.release(one.indexed);
        plain.release(one.plain);
    };
    const auto replaceOne = [&] {
        const Pair one = takeOne(copies);
        ASSERT_EQ(indexed.replace(one.indexed), plain.replace(one.plain));
    };
    for (Version version = 1; version < 60'000; ++version) {
        noMemoryForTables = version / 10'000 % 2 == 0;
        const std::size_t i = chance() % Store::kNodes;
        switch (chance() % 8) {
            case 0:
                ASSERT_EQ(indexed.insert(i, version), plain.insert(i, version));
                break;
            case 1: {
                const Pair copy{indexed.copy(i, version), plain.copy(i, version)};
                ASSERT_EQ(copy.indexed == nullptr, copy.plain == nullptr);
                if (copy.plain == nullptr) break;
                ASSERT_TRUE(i % 4 == 2 ||
                            copy.indexed->variableNode.accessLevel == Store::level(i));
                copies.push_back(copy);
                break;
            }
            case 2:
                if (chance() % 2 == 0) break;  // most are there
                ASSERT_EQ(indexed.remove(i), plain.remove(i));
                break;
            default: {
                const Way way{static_cast<int>(chance() % 4)};
                const Pair got{const_cast<UA_Node*>(indexed.get(i, way)),
                               const_cast<UA_Node*>(plain.get(i, way))};
                ASSERT_EQ(versionOf(got.indexed), versionOf(got.plain));
                if (got.plain == nullptr) break;
                const bool isEdit = way == Way::edit || way == Way::editPointedAt;
                const bool isFirst = holders[got.indexed]++ == 0;
                ASSERT_TRUE(!isFirst || isEdit || i % 4 == 2 ||
                            got.indexed->variableNode.accessLevel == Store::level(i));
                held.push_back(got);
            }
        }
        while (held.size() > 50)
            ASSERT_NO_FATAL_FAILURE(releaseOne());
        while (copies.size() > 20)
            ASSERT_NO_FATAL_FAILURE(replaceOne());
    }
    noMemoryForTables = false;
    EXPECT_EQ(indexed.count(), plain.count());
    while (!held.empty())
        ASSERT_NO_FATAL_FAILURE(releaseOne());
    while (!copies.empty())
        ASSERT_NO_FATAL_FAILURE(replaceOne());
    for (std::size_t i = 0; i < Store::kNodes; ++i)
        EXPECT_EQ(indexed.remove(i), plain.remove(i));
    EXPECT_EQ(heldInside, 0) << "each holder has given back what it got";
    indexed.release(nullptr);
}

TEST(IndexedNodeStore, LooksVariablesUpInTheStoreBehindItOnlyWhenTheyCome) {
    Store store(indexVariables(countingStore()));
    ASSERT_EQ(store.insert(0, 1), UA_STATUSCODE_GOOD);
    gotInside = 0;
    for (int n = 0; n < 100; ++n)
        store.release(store.get(0, Way{n % 4}));
    EXPECT_EQ(gotInside, 0);
}
