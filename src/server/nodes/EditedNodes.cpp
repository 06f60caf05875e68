#include "server/nodes/EditedNodes.h"

namespace {

constexpr UA_Byte kStatusAndTime =
    UA_ACCESSLEVELMASK_STATUSWRITE | UA_ACCESSLEVELMASK_TIMESTAMPWRITE;

UA_Byte missingLevel(const UA_Node& node) {
    if (node.head.nodeClass != UA_NODECLASS_VARIABLE) return 0;
    const unsigned level = node.variableNode.accessLevel;
    if ((level & UA_ACCESSLEVELMASK_WRITE) == 0) return 0;
    return static_cast<UA_Byte>(kStatusAndTime & ~level);
}

void takeAway(UA_Byte level, UA_Node& node) {
    node.variableNode.accessLevel =
        static_cast<UA_Byte>(node.variableNode.accessLevel & ~unsigned{level});
}

}  // namespace

void EditedNodes::edit(UA_Node& node) {
    const UA_Byte added = missingLevel(node);
    if (added == 0 || count_ == kMost || find(node) < count_) return;
    edited_[count_++] = {&node, 1, added};
    node.variableNode.accessLevel |= added;
}

void EditedNodes::restore(const UA_Node& node, UA_Node& copy) const {
    const std::size_t at = find(node);
    if (at < count_) takeAway(edited_[at].addedLevel, copy);
}

std::size_t EditedNodes::find(const UA_Node& node) const {
    std::size_t at = 0;
    while (at < count_ && edited_[at].node != &node)
        ++at;
    return at;
}

void EditedNodes::countHolder(const UA_Node& node) {
    const std::size_t at = find(node);
    if (at < count_) ++edited_[at].holders;
}

void EditedNodes::countRelease(const UA_Node& node) {
    const std::size_t at = find(node);
    if (at == count_ || --edited_[at].holders > 0) return;
    takeAway(edited_[at].addedLevel, *edited_[at].node);
    edited_[at] = edited_[--count_];
}
