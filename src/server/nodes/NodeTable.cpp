#include "server/nodes/NodeTable.h"

#include <algorithm>
#include <functional>
#include <new>
#include <string_view>

#include "server/opcua/UaView.h"

namespace {

constexpr std::size_t kFirstSize = 64;
constexpr std::size_t kCacheLine = 64;

std::uint32_t hashOf(const UA_NodeId& id) {
    const std::size_t hash = std::hash<std::string_view>{}(textOf(id.identifier.string));
    return static_cast<std::uint32_t>(hash + id.namespaceIndex);
}

bool isSame(const UA_NodeId& a, const UA_NodeId& b) {
    return a.namespaceIndex == b.namespaceIndex &&
           textOf(a.identifier.string) == textOf(b.identifier.string);
}

void fetch(const void* from, std::size_t bytes) {
    const char* const begin = static_cast<const char*>(from);
    for (std::size_t at = 0; at < bytes; at += kCacheLine)
        __builtin_prefetch(begin + at);
}

}  // namespace

NodeTable::NodeTable() : slots_(makeSlots(kFirstSize)), size_(kFirstSize) {}

NodeTable::Slots NodeTable::makeSlots(std::size_t size) {
    return Slots(new (std::nothrow) Slot[size]);
}

/// Maps a hash to one of the slots, whose number is not a power of two.
std::size_t NodeTable::placeOf(std::uint32_t hash) const {
    return (std::uint64_t{hash} * size_) >> 32U;
}

/// The node's slot, or the free slot where it would be added.
std::size_t NodeTable::slotOf(const UA_NodeId& id, std::uint32_t hash) const {
    std::size_t at = placeOf(hash);
    while (slots_[at].node != nullptr &&
           (slots_[at].hash != hash || !isSame(slots_[at].node->head.nodeId, id)))
        at = behind(at);
    return at;
}

const UA_Node* NodeTable::find(const UA_NodeId& id) {
    const std::size_t at = slotOf(id, hashOf(id));
    if (slots_[at].node == nullptr) return nullptr;
    fetchAhead(at);
    return slots_[at].node;
}

/// Each step needs what the previous one has fetched: the slot, its node, and the data that the
/// node points to.
void NodeTable::fetchAhead(std::size_t at) {
    slots_[last_].next = static_cast<std::uint32_t>(at);
    last_ = at;
    const Slot& first = slots_[slots_[at].next];
    const Slot& second = slots_[first.next];
    const Slot& third = slots_[second.next];
    __builtin_prefetch(&slots_[third.next]);
    if (third.node != nullptr) fetch(third.node, sizeof(UA_VariableNode));
    if (second.node != nullptr) {
        __builtin_prefetch(second.node->head.nodeId.identifier.string.data);
        __builtin_prefetch(second.node->head.context);
    }
}

bool NodeTable::add(const UA_Node& node) {
    if ((used_ + 1) * 8 > size_ * 7 && !grow()) return false;
    ++used_;
    place({&node, hashOf(node.head.nodeId), 0});
    return true;
}

void NodeTable::remove(const UA_Node& node) {
    std::size_t hole = slotOf(node.head.nodeId, hashOf(node.head.nodeId));
    slots_[hole] = {};
    --used_;
    // A displaced entry moves up, so that there is no free slot between it and its place.
    const auto distance = [this](std::size_t from, std::size_t to) {
        return to >= from ? to - from : to + size_ - from;
    };
    for (std::size_t at = behind(hole); slots_[at].node != nullptr; at = behind(at)) {
        if (distance(placeOf(slots_[at].hash), at) < distance(hole, at)) continue;
        slots_[hole] = slots_[at];
        slots_[at] = {};
        hole = at;
    }
}

void NodeTable::replace(const UA_Node& present, const UA_Node& next) {
    slots_[slotOf(present.head.nodeId, hashOf(present.head.nodeId))].node = &next;
}

void NodeTable::place(const Slot& slot) {
    std::size_t at = placeOf(slot.hash);
    while (slots_[at].node != nullptr)
        at = behind(at);
    slots_[at] = slot;
}

bool NodeTable::grow() {
    const std::size_t former_size = size_;
    Slots former = makeSlots(size_ + size_ / 4);
    if (!former) return false;
    former.swap(slots_);
    size_ += size_ / 4;
    last_ = 0;
    std::for_each_n(former.get(), former_size, [this](const Slot& slot) {
        if (slot.node != nullptr) place({slot.node, slot.hash, 0});
    });
    return true;
}
