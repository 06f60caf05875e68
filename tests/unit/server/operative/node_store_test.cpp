#include <open62541/plugin/nodestore_default.h>

#include <map>
#include <random>
#include <set>
#include <utility>

#include "../server_fixture.h"
#include "server/operative/IndexedNodeStore.h"
#include "server/operative/NodeTable.h"
#include "server/operative/UaView.h"

/// The table by itself: in front of a store, what it loses the store would still find.
TEST(NodeTable, FindsWhatItHoldsAndNothingElse) {
    std::mt19937 chance(1);
    std::vector<std::string> names;
    std::vector<UA_Node> nodes(3000);
    for (std::size_t i = 0; i < nodes.size(); ++i)
        names.push_back("VA_" + std::to_string(i / 2));
    for (std::size_t i = 0; i < nodes.size(); ++i) {  // each name in two namespaces
        nodes[i].head.nodeId = uaNodeIdView(static_cast<UA_UInt16>(1 + i % 2), names[i]);
    }
    NodeTable table;
    std::set<const UA_Node*> held;
    for (int step = 0; step < 40'000; ++step) {
        const UA_Node& node = nodes[chance() % nodes.size()];
        NodeTable::Slot* const slot = table.find(node.head.nodeId);
        ASSERT_EQ(slot == nullptr ? nullptr : slot->node, held.count(&node) == 1 ? &node : nullptr);
        const bool fills = step / 10'000 % 2 == 0;
        const bool hold = chance() % 10 < (fills ? 9U : 1U);
        if (slot == nullptr && hold) {
            table.add(node);
            held.insert(&node);
        } else if (slot != nullptr && !hold) {
            table.remove(*slot);
            held.erase(&node);
        }
    }
}

namespace {

using Version = std::uintptr_t;

/// A store of the library with the index in front. Nodes carry a version as their context.
class IndexedStore : public testing::Test {
  protected:
    IndexedStore() {
        for (std::size_t i = 0; i < kNodes; ++i)
            names_.push_back("VA_" + std::to_string(i));
    }
    ~IndexedStore() override { store_->free(store_); }

    /// Variables and objects with texts as identifiers, and variables with numbers.
    UA_NodeId id(std::size_t i) const {
        return i % 4 == 3 ? UA_NODEID_NUMERIC(1, static_cast<UA_UInt32>(i))
                          : uaNodeIdView(1, names_[i]);
    }

    UA_StatusCode insert(std::size_t i, Version version) {
        UA_Node* const node =
            store_->newNode(store_, i % 4 == 2 ? UA_NODECLASS_OBJECT : UA_NODECLASS_VARIABLE);
        const UA_NodeId view = id(i);
        EXPECT_EQ(UA_NodeId_copy(&view, &node->head.nodeId), UA_STATUSCODE_GOOD);
        node->head.context = reinterpret_cast<void*>(version);
        return store_->insertNode(store_, node, nullptr);
    }

    UA_StatusCode replace(std::size_t i, Version version) {
        UA_Node* copy = nullptr;
        const UA_NodeId view = id(i);
        const UA_StatusCode status = store_->getNodeCopy(store_, &view, &copy);
        if (status != UA_STATUSCODE_GOOD) return status;
        copy->head.context = reinterpret_cast<void*>(version);
        return store_->replaceNode(store_, copy);
    }

    const UA_Node* get(std::size_t i, std::mt19937::result_type way) {
        const UA_NodeId view = id(i);
        const UA_NodePointer pointer = UA_NodePointer_fromNodeId(&view);
        const auto none = UA_REFERENCETYPESET_NONE;
        const auto any = UA_BROWSEDIRECTION_INVALID;
        switch (way % 4) {
            case 0:
                return store_->getNode(store_, &view, 0, none, any);
            case 1:
                return store_->getEditNode(store_, &view, 0, none, any);
            case 2:
                return store_->getNodeFromPtr(store_, pointer, 0, none, any);
            default:
                return store_->getEditNodeFromPtr(store_, pointer, 0, none, any);
        }
    }

    std::size_t count() {
        std::size_t nodes = 0;
        store_->iterate(
            store_, [](void* sum, const UA_Node*) { ++*static_cast<std::size_t*>(sum); }, &nodes);
        return nodes;
    }

    static constexpr std::size_t kNodes = 600;

    UA_Nodestore* store_ = indexVariables(UA_Nodestore_ZipTree());
    std::vector<std::string> names_;
};

Version versionOf(const UA_Node& node) {
    return reinterpret_cast<Version>(node.head.context);
}

}  // namespace

/// Who got a node keeps it as it was, whatever becomes of it; who asks gets the present one.
TEST_F(IndexedStore, AnswersLikeTheStoreBehindIt) {
    std::mt19937 chance(2);
    std::map<std::size_t, Version> present;
    std::vector<std::pair<const UA_Node*, Version>> taken;
    for (Version version = 1; version < 40'000; ++version) {
        const std::size_t i = chance() % kNodes;
        const auto known = present.find(i);
        const bool isThere = known != present.end();
        const UA_StatusCode unknown = isThere ? UA_STATUSCODE_GOOD : UA_STATUSCODE_BADNODEIDUNKNOWN;
        switch (chance() % 8) {
            case 0:
                ASSERT_EQ(insert(i, version),
                          isThere ? UA_STATUSCODE_BADNODEIDEXISTS : UA_STATUSCODE_GOOD);
                present.try_emplace(i, version);
                break;
            case 1:
                ASSERT_EQ(replace(i, version), unknown);
                if (isThere) known->second = version;
                break;
            case 2: {
                const UA_NodeId view = id(i);
                if (chance() % 2 == 0) break;  // most are there
                ASSERT_EQ(store_->removeNode(store_, &view), unknown);
                present.erase(i);
                break;
            }
            default:
                if (const UA_Node* const node = get(i, chance())) {
                    ASSERT_TRUE(isThere);
                    ASSERT_EQ(versionOf(*node), known->second);
                    taken.emplace_back(node, known->second);
                } else {
                    ASSERT_FALSE(isThere);
                }
        }
        while (taken.size() > 50) {
            std::swap(taken[chance() % taken.size()], taken.back());
            ASSERT_EQ(versionOf(*taken.back().first), taken.back().second);
            store_->releaseNode(store_, taken.back().first);
            taken.pop_back();
        }
    }
    EXPECT_EQ(count(), present.size());
    for (const auto& [node, version] : taken)
        store_->releaseNode(store_, node);
    store_->releaseNode(store_, nullptr);
}

TEST_F(IndexedStore, KnowsTheReferenceTypesOfTheStoreBehindIt) {
    EXPECT_EQ(store_->getReferenceTypeId(store_, 0), nullptr);
    UA_Node* const node = store_->newNode(store_, UA_NODECLASS_REFERENCETYPE);
    node->head.nodeId = UA_NODEID_NUMERIC(0, 31);
    ASSERT_EQ(store_->insertNode(store_, node, nullptr), UA_STATUSCODE_GOOD);
    ASSERT_NE(store_->getReferenceTypeId(store_, 0), nullptr);
    EXPECT_EQ(store_->getReferenceTypeId(store_, 0)->identifier.numeric, 31U);
    store_->deleteNode(store_, store_->newNode(store_, UA_NODECLASS_OBJECT));
}
