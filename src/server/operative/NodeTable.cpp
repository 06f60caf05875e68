#include "server/operative/NodeTable.h"

#include <algorithm>
#include <functional>
#include <new>
#include <string_view>

#include "server/operative/UaView.h"

namespace {

constexpr std::size_t kFirstSize = 256;

std::uint32_t hashOf(const UA_NodeId& id) {
    const std::size_t hash = std::hash<std::string_view>{}(textOf(id.identifier.string));
    return static_cast<std::uint32_t>(hash + id.namespaceIndex);
}

bool isSame(const UA_NodeId& a, const UA_NodeId& b) {
    return a.namespaceIndex == b.namespaceIndex &&
           textOf(a.identifier.string) == textOf(b.identifier.string);
}

}  // namespace

NodeTable::NodeTable() : slots_(makeSlots(kFirstSize)), mask_(kFirstSize - 1) {}

NodeTable::Slots NodeTable::makeSlots(std::size_t size) {
    return Slots(new (std::nothrow) Slot[size]);
}

NodeTable::Slot* NodeTable::find(const UA_NodeId& id) {
    const std::uint32_t hash = hashOf(id);
    for (std::size_t at = hash & mask_;; at = (at + 1) & mask_) {
        Slot& slot = slots_[at];
        if (slot.node == nullptr) return nullptr;
        if (slot.hash == hash && isSame(slot.node->head.nodeId, id)) return &slot;
    }
}

NodeTable::Slot* NodeTable::add(const UA_Node& node) {
    if ((used_ + 1) * 4 > (mask_ + 1) * 3 && !grow()) return nullptr;
    ++used_;
    return &place({&node, hashOf(node.head.nodeId), 0});
}

void NodeTable::remove(const Slot& slot) {
    auto hole = static_cast<std::size_t>(&slot - slots_.get());
    slots_[hole] = {};
    --used_;
    // A slot that stands behind its place moves up, so that no free one is between the two.
    for (std::size_t at = (hole + 1) & mask_; slots_[at].node != nullptr; at = (at + 1) & mask_) {
        const std::size_t behindItsPlace = (at - slots_[at].hash) & mask_;
        const std::size_t behindTheHole = (at - hole) & mask_;
        if (behindItsPlace < behindTheHole) continue;
        slots_[hole] = slots_[at];
        slots_[at] = {};
        hole = at;
    }
}

NodeTable::Slot& NodeTable::place(const Slot& slot) {
    std::size_t at = slot.hash & mask_;
    while (slots_[at].node != nullptr)
        at = (at + 1) & mask_;
    return slots_[at] = slot;
}

bool NodeTable::grow() {
    const std::size_t size = mask_ + 1;
    Slots former = makeSlots(size * 2);
    if (!former) return false;
    former.swap(slots_);
    mask_ = size * 2 - 1;
    std::for_each_n(former.get(), size, [this](const Slot& slot) {
        if (slot.node != nullptr) place(slot);
    });
    return true;
}
