#include "tools/opcuaweb/tree/tree_walk.h"

#include <algorithm>
#include <iterator>
#include <map>

#include "tools/client/format.h"
#include "tools/client/item_list.h"
#include "tools/client/labels.h"
#include "tools/opcuaweb/basics/limits.h"
#include "tools/opcuaweb/opcua/reading.h"
#include "tools/text/text.h"

namespace tools::opcuaweb {

std::string unitIn(const std::string& name) {
    constexpr int kLongestUnit = 7;  // "кгс/см2"
    const std::size_t comma = name.rfind(',');
    if (comma == std::string::npos) return {};
    const std::size_t begin = name.find_first_not_of(' ', comma + 1);
    if (begin == std::string::npos) return {};
    const std::string unit = name.substr(begin);
    return displayWidth(unit) <= kLongestUnit ? unit : "";
}

Json rowJson(const Row& row) {
    std::string access;
    if (row.readable) access += 'R';
    if (row.writable) access += 'W';
    const bool isMeasure = row.type == "Float" || row.type == "Double";
    const std::string unit = row.tag->unit.empty() ? unitIn(row.tag->name) : row.tag->unit;
    return {{"id", row.id},     {"tag", row.tag->tag},           {"name", row.tag->name},
            {"item", row.item}, {"unit", isMeasure ? unit : ""}, {"type", row.type},
            {"access", access}, {"history", row.history},        {"folder", row.tag->folder}};
}

TreeWalk::TreeWalk(const std::string& root, std::size_t mostRows) : mostRows_(mostRows) {
    NodeId id;
    if (!parseId(root, id)) return;
    const UA_NodeId objects = UA_NODEID_NUMERIC(0, UA_NS0ID_OBJECTSFOLDER);
    const bool isFolder = UA_NodeId_equal(id.get(), &objects);
    waiting_.push_back({std::move(id), {}, {}, kMostDepth, isFolder});
    seen_.insert(root);
    rootNamed_ = isFolder;
}

/// The variables directly below the root are shown under its own name.
bool TreeWalk::nameRoot(Session& session) {
    std::vector<DataValue> names;
    const UA_NodeId* const root = waiting_.front().id.get();
    if (session.read({root}, UA_ATTRIBUTEID_DISPLAYNAME, names) != UA_STATUSCODE_GOOD) return false;
    if (names.front()->hasValue) waiting_.front().name = formatValue(names.front()->value);
    waiting_.front().name = shortText(waiting_.front().name, kMostName);
    rootNamed_ = true;
    return true;
}

bool isShown(const Child& child) {
    return !child.isProperty && child.id->namespaceIndex != 0;
}

bool TreeWalk::step(Session& session) {
    if (waiting_.empty()) return describeNew(session);
    if (!rootNamed_ && !nameRoot(session)) return false;
    const std::size_t count = std::min(Session::kNodesPerBrowse, waiting_.size());
    std::vector<const UA_NodeId*> ids;
    for (std::size_t i = 0; i < count; ++i) {
        ids.push_back(waiting_[i].id.get());
    }
    std::vector<std::vector<Child>> lists;
    const UA_StatusCode status = session.browse(ids, lists);
    if (status != UA_STATUSCODE_GOOD && !isRefusal(status)) return false;
    if (status != UA_STATUSCODE_GOOD || session.isBrowseCut()) complete_ = false;
    std::vector<Object> found;
    for (std::size_t i = 0; i < count; ++i) {
        sortByName(lists[i]);
        takeChildren(session, waiting_[i], lists[i], found);
    }
    waiting_.erase(waiting_.begin(), waiting_.begin() + static_cast<std::ptrdiff_t>(count));
    // Depth first by lots, so that rows of one folder stay together.
    waiting_.insert(waiting_.begin(), std::make_move_iterator(found.begin()),
                    std::make_move_iterator(found.end()));
    if (rows_.size() >= mostRows_ || seen_.size() >= kMostObjects) stop();
    return describeNew(session);
}

void TreeWalk::stop() {
    complete_ &= waiting_.empty();
    waiting_.clear();
}

void TreeWalk::takeChildren(const Session& session, const Object& object,
                            std::vector<Child>& children, std::vector<Object>& found) {
    std::shared_ptr<Tag> tag;
    const std::string path =
        object.folder.empty() ? object.name : object.folder + " / " + object.name;
    const std::string& folder = object.isFolder ? path : object.folder;
    if (children.size() > kMostChildren) complete_ = false;
    for (Child& child : children) {
        if (!isShown(child)) continue;
        child.name = shortText(std::move(child.name), kMostName);
        if (child.isVariable && !tag) {
            tag = std::make_shared<Tag>();
            tag->id = exactId(*object.id);
            tag->tag = object.name;
            tag->folder = folder;
            tag->search = lowered(object.name);
        }
        if (child.isVariable) addRow(child, tag);
        const bool isEntered = !child.isVariable || mayHaveChildren(session, child);
        if (!isEntered || !seen_.insert(exactId(*child.id)).second) continue;
        if (object.depth == 0) {
            complete_ = false;
            continue;
        }
        found.push_back(
            {std::move(child.id), std::move(child.name), folder, object.depth - 1, child.isFolder});
    }
}

void TreeWalk::addRow(const Child& child, const std::shared_ptr<Tag>& tag) {
    if (rows_.size() >= mostRows_) {
        complete_ = false;
        return;
    }
    newTags_.push_back(tag);
    rows_.push_back({exactId(*child.id), child.name, {}, false, false, false, tag});
}

std::vector<Row> TreeWalk::takeRows() {
    std::unordered_set<std::string_view> live;
    for (const Row& row : rows_) {
        if (!row.history) live.insert(row.tag->folder);
    }
    // Not the algorithm of std::ranges: clang 14 does not compile it.
    std::stable_partition(rows_.begin(), rows_.end(),
                          [&](const Row& row) { return live.contains(row.tag->folder); });
    return std::move(rows_);
}

namespace {

/// A tag's texts, as far as its variables show them.
void addText(Tag& tag, const std::string& item, const std::string& text) {
    const std::string known = shortText(text, kMostName);
    if (known.empty()) return;
    tag.search += ' ' + lowered(known);
    const Label label = labelOf(item);
    if (label == Label::name) tag.name += (tag.name.empty() ? "" : " ") + known;
    if (label == Label::unit) tag.unit = known;
}

void describeRow(Row& row, Tag& tag, const UA_DataValue& level, const UA_DataValue& value) {
    if (level.hasValue && UA_Variant_hasScalarType(&level.value, &UA_TYPES[UA_TYPES_BYTE])) {
        const auto bits = *static_cast<const UA_Byte*>(level.value.data);
        row.readable = (bits & UA_ACCESSLEVELMASK_READ) != 0;
        row.writable = (bits & UA_ACCESSLEVELMASK_WRITE) != 0;
        row.history = (bits & UA_ACCESSLEVELMASK_HISTORYREAD) != 0;
    }
    if (!value.hasValue || UA_Variant_isEmpty(&value.value)) return;
    row.type = value.value.type->typeName;
    addText(tag, row.item, plantText(value));
}

}  // namespace

/// Reads rights and values of the rows that have not been described yet.
bool TreeWalk::describeNew(Session& session) {
    const std::size_t from = rows_.size() - newTags_.size();
    std::vector<NodeId> ids(newTags_.size());
    std::vector<const UA_NodeId*> nodes;
    for (std::size_t i = 0; i < ids.size(); ++i) {
        static_cast<void>(parseId(rows_[from + i].id, ids[i]));
        nodes.push_back(ids[i].get());
    }
    std::vector<DataValue> levels;
    std::vector<DataValue> values;
    if (session.read(nodes, UA_ATTRIBUTEID_USERACCESSLEVEL, levels) != UA_STATUSCODE_GOOD ||
        session.read(nodes, UA_ATTRIBUTEID_VALUE, values) != UA_STATUSCODE_GOOD) {
        return false;
    }
    for (std::size_t i = 0; i < ids.size(); ++i) {
        describeRow(rows_[from + i], *newTags_[i], *levels[i], *values[i]);
    }
    newTags_.clear();
    return true;
}

}  // namespace tools::opcuaweb
