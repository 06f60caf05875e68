#include "tools/client/item_list.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <iterator>
#include <span>

#include "tools/client/fair_shares.h"
#include "tools/client/format.h"
#include "tools/text/text.h"

namespace tools {

namespace {

/// Whether a number that follows the prefix is in its type's range.
template <class Number>
bool fits(std::string_view text, std::string_view prefix) {
    if (!text.starts_with(prefix)) return true;
    text.remove_prefix(prefix.size());
    Number number = 0;
    return std::from_chars(text.data(), text.data() + text.size(), number).ec == std::errc{};
}

UA_StatusCode parsed(const std::string& text, NodeId& id) {
    // The library would take the rest of a division: ns=65538 for ns=2.
    const std::string_view whole = text;
    const auto body =
        whole.substr(whole.starts_with("ns=") ? std::min(whole.find(';') + 1, whole.size()) : 0);
    if (!fits<UA_UInt16>(whole, "ns=") || !fits<UA_UInt32>(body, "i=")) {
        return UA_STATUSCODE_BADNODEIDINVALID;
    }
    return UA_NodeId_parse(id.get(), uaView(text));
}

}  // namespace

bool isNodeId(const std::string& text) {
    NodeId id;
    return parsed(text, id) == UA_STATUSCODE_GOOD;
}

namespace {

UA_StatusCode listNamed(Session& session, const ItemChoice& choice, ItemList& list) {
    for (const std::string& text : choice.nodeIds) {
        Item item{{}, printable(text), {}};
        if (parsed(text, item.id) != UA_STATUSCODE_GOOD) return UA_STATUSCODE_BADNODEIDINVALID;
        list.items.push_back(std::move(item));
    }
    std::vector<const UA_NodeId*> ids;
    for (const Item& item : list.items)
        ids.push_back(item.id.get());
    std::vector<DataValue> names;
    const UA_StatusCode status = session.read(ids, UA_ATTRIBUTEID_DISPLAYNAME, names);
    for (std::size_t i = 0; i < names.size(); ++i) {
        list.items[i].attribute = formatValue(names[i]->value);
    }
    return status;
}

}  // namespace

bool SeenNodes::add(const UA_NodeId& id) {
    return !full() && ids_.insert(NodeId::copyOf(id)).second;
}

bool mayHaveChildren(const Session& session, const Child& node) {
    return !node.isProperty && (!node.isVariable || session.controllerNamespace() == 0 ||
                                node.id->namespaceIndex != session.controllerNamespace());
}

bool matchesFilter(const UA_NodeId& id, const std::string& name, const std::string& filter) {
    const bool text = id.identifierType == UA_NODEIDTYPE_STRING;
    const std::string key = text ? std::string{textOf(id.identifier.string)} : idText(id);
    return lowered(key).find(filter) != std::string::npos ||
           lowered(name).find(filter) != std::string::npos;
}

void sortByName(std::vector<Child>& children) {
    std::ranges::sort(children, [](const Child& a, const Child& b) {
        return strverscmp(a.name.c_str(), b.name.c_str()) < 0;
    });
}

namespace {

/// Walks the tree below the Objects folder.
class TreeWalk {
  public:
    TreeWalk(Session& session, const ItemChoice& choice, const BrowseProgress& progress)
        : session_(session), limit_(choice.limit), progress_(progress) {
        for (const std::string& filter : choice.filters)
            filters_.push_back(lowered(filter));
    }

    UA_StatusCode run(ItemList& list) {
        const UA_NodeId objects = UA_NODEID_NUMERIC(0, UA_NS0ID_OBJECTSFOLDER);
        UA_StatusCode status = walkFolder(objects, "Objects", kMaxDepth);
        if (status != UA_STATUSCODE_GOOD) return status;
        takeShares(list);
        return status;
    }

  private:
    using Nodes = std::vector<Child>;
    static constexpr int kMaxDepth = 100;
    static constexpr std::size_t kSeenBetweenCalls = 500;

    UA_StatusCode walkFolder(const UA_NodeId& folder, const std::string& name, int depth) {
        std::vector<std::vector<Child>> lists;
        UA_StatusCode status = session_.browse({&folder}, lists);
        if (status != UA_STATUSCODE_GOOD) return status;
        Nodes folders;
        Nodes tags;
        groups_.emplace_back();
        sortByName(lists.front());
        for (Child& child : lists.front()) {
            Nodes& inner = child.isFolder ? folders : tags;
            take(std::move(child), name, nullptr, inner);
        }
        status = walkTags(tags, depth);
        if (depth == 0) return status;
        for (auto next = folders.begin(); next != folders.end() && isGood(status); ++next) {
            status = walkFolder(*next->id, next->name, depth - 1);
        }
        return status;
    }

    /// The variables of the folder's tags, until the limit is reached.
    UA_StatusCode walkTags(const Nodes& tags, int depth) {
        for (std::size_t from = 0; from < tags.size(); from += Session::kNodesPerBrowse) {
            if (limit_ > 0 && groups_.back().size() >= limit_) {
                complete_ = false;
                break;
            }
            const std::span chunk = std::span{tags}.subspan(
                from, std::min(Session::kNodesPerBrowse, tags.size() - from));
            const UA_StatusCode status = walkChunk(chunk, depth);
            if (!isGood(status)) return status;
        }
        return UA_STATUSCODE_GOOD;
    }

    UA_StatusCode walkChunk(std::span<const Child> tags, int depth) {
        std::vector<const UA_NodeId*> ids;
        for (const Child& tag : tags)
            ids.push_back(tag.id.get());
        std::vector<std::vector<Child>> lists;
        const UA_StatusCode status = session_.browse(ids, lists);
        Nodes nested;
        for (std::size_t i = 0; i < tags.size(); ++i) {
            sortByName(lists[i]);
            const auto parent = std::make_shared<const NodeId>(NodeId::copyOf(*tags[i].id.get()));
            for (Child& child : lists[i]) {
                if (child.isProperty && tags[i].isVariable) continue;
                take(std::move(child), tags[i].name, parent, nested);
            }
        }
        if (!isGood(status) || nested.empty() || depth == 0) return status;
        return walkTags(nested, depth - 1);
    }

    /// Lists the node if it is a variable; puts it into `inner` if it is to be entered.
    void take(Child child, const std::string& tag, const std::shared_ptr<const NodeId>& parent,
              Nodes& inner) {
        if (child.id->namespaceIndex == 0) return;
        if (seen_ >= SeenNodes::kMost) {
            complete_ = false;
            return;
        }
        ++seen_;
        if (progress_ && seen_ % kSeenBetweenCalls == 0) progress_(seen_);
        const bool enters = mayHaveChildren(session_, child);
        if (enters && !entered_.add(*child.id)) return;
        if (child.isVariable && matches(child, tag)) {
            NodeId id = enters ? NodeId::copyOf(*child.id.get()) : std::move(child.id);
            groups_.back().push_back({std::move(id), tag, child.name, parent});
        }
        if (enters) inner.push_back(std::move(child));
    }

    /// A server may list references in any order; numbers in names are compared as numbers.
    bool matches(const Child& child, const std::string& tag) const {
        return filters_.empty() ||
               std::any_of(filters_.begin(), filters_.end(), [&](const std::string& filter) {
                   return matchesFilter(*child.id, tag + " " + child.name, filter);
               });
    }

    void takeShares(ItemList& list) {
        std::vector<std::size_t> sizes;
        std::size_t sum = 0;
        for (const auto& group : groups_)
            sum += sizes.emplace_back(group.size());
        const auto shares = fairShares(sizes, limit_ == 0 ? sum : limit_);
        for (std::size_t i = 0; i < groups_.size(); ++i) {
            std::move(groups_[i].begin(),
                      groups_[i].begin() + static_cast<std::ptrdiff_t>(shares[i]),
                      std::back_inserter(list.items));
        }
        list.complete = complete_ && list.items.size() == sum;
    }

    static bool isGood(UA_StatusCode status) { return status == UA_STATUSCODE_GOOD; }

    Session& session_;
    std::vector<std::string> filters_;  // lower case
    std::size_t limit_;
    const BrowseProgress& progress_;
    std::vector<std::vector<Item>> groups_;  // by folder
    SeenNodes entered_;
    std::size_t seen_ = 0;
    bool complete_ = true;
};

}  // namespace

UA_StatusCode listItems(Session& session, const ItemChoice& choice, ItemList& list,
                        const BrowseProgress& progress) {
    list = {};
    if (!choice.nodeIds.empty()) return listNamed(session, choice, list);
    return TreeWalk{session, choice, progress}.run(list);
}

namespace {

UA_StatusCode listControllerPens(Session& session, std::vector<Item>& pens) {
    constexpr UA_UInt32 kHistoricalFolder = 7;
    const UA_NodeId folder = UA_NODEID_NUMERIC(session.controllerNamespace(), kHistoricalFolder);
    std::vector<std::vector<Child>> plotters;
    UA_StatusCode status = session.browse({&folder}, plotters);
    for (std::size_t i = 0; status == UA_STATUSCODE_GOOD && i < plotters.front().size(); ++i) {
        std::vector<std::vector<Child>> lists;
        status = session.browse({plotters.front()[i].id.get()}, lists);
        for (Child& pen : lists.front()) {
            if (!pen.isVariable) continue;
            pens.push_back({std::move(pen.id), plotters.front()[i].name, std::move(pen.name)});
        }
    }
    return status;
}

bool grantsHistory(const UA_DataValue& accessLevel) {
    return UA_Variant_hasScalarType(&accessLevel.value, &UA_TYPES[UA_TYPES_BYTE]) &&
           (*static_cast<const UA_Byte*>(accessLevel.value.data) &
            UA_ACCESSLEVELMASK_HISTORYREAD) != 0;
}

}  // namespace

UA_StatusCode listPens(Session& session, std::vector<Item>& pens) {
    constexpr std::size_t kMostVariables = 100'000;
    if (session.controllerNamespace() != 0) return listControllerPens(session, pens);
    ItemChoice all;
    all.limit = kMostVariables;
    ItemList list;
    UA_StatusCode status = listItems(session, all, list);
    if (status != UA_STATUSCODE_GOOD) return status;
    std::vector<const UA_NodeId*> ids;
    for (const Item& item : list.items)
        ids.push_back(item.id.get());
    std::vector<DataValue> levels;
    status = session.read(ids, UA_ATTRIBUTEID_USERACCESSLEVEL, levels);
    for (std::size_t i = 0; i < levels.size(); ++i) {
        if (grantsHistory(*levels[i])) pens.push_back(std::move(list.items[i]));
    }
    return status;
}

}  // namespace tools
