#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <span>

#include "tools/client/details.h"
#include "tools/client/explain.h"
#include "tools/client/format.h"
#include "tools/client/item_list.h"
#include "tools/opcuaview/commands.h"
#include "tools/opcuaview/connection.h"
#include "tools/opcuaview/language.h"
#include "tools/opcuaview/options.h"
#include "tools/opcuaview/report.h"
#include "tools/opcuaview/terminal.h"
#include "tools/text/text.h"

namespace tools::opcuaview {

namespace {

constexpr int kMostDepth = 100;  // so that a tree without an end has one

struct TreeOptions {
    ServerOptions server;
    std::string start;       // node id or path; empty: the Objects folder
    int depth = kMostDepth;  // levels below the start
    std::vector<std::string> filters;
    std::size_t limit = 100'000;  // nodes that are shown
};

}  // namespace

// ---- One node -----------------------------------------------------------------------------------

namespace {

struct Node {
    Child child;
    bool shown = true;               // no filter excludes it
    bool again = false;              // it was entered at another place
    std::optional<Details> details;  // of variables that are shown
    std::string unit;
};

std::string nameOf(const Node& node) {
    return node.child.name + (node.child.isVariable ? "" : "/");
}

/// A line of the tree. @param nameWidth  columns of the names of its neighbours
std::string lineOf(const Node& node, std::size_t level, int nameWidth) {
    std::string line(level * 2, ' ');
    if (!node.details) {
        line += nameOf(node);
    } else {
        const Details& details = *node.details;
        const std::string type = details.typeName.empty() ? "—" : details.typeName;
        line += fitted(nameOf(node), std::max(nameWidth, displayWidth(nameOf(node)))) + "  " +
                formatValue(details.value->value) + (node.unit.empty() ? "" : " " + node.unit) +
                "  " + formatQuality(statusOf(*details.value)) + "  " + type + "  " +
                accessText(details.access) + "  " + idText(*node.child.id);
    }
    if (node.again) line += in({"  (содержимое показано в другом месте)", "  (shown elsewhere)"});
    return line;
}

Json jsonOf(const Node& node, const std::string& path) {
    Json object;
    object["id"] = idText(*node.child.id);
    object["path"] = path;
    object["name"] = node.child.name;
    object["class"] = !node.child.isVariable  ? "object"
                      : node.child.isProperty ? "property"
                                              : "variable";
    if (node.details) addDetails(object, *node.details);
    if (!node.unit.empty()) object["unit"] = node.unit;
    return object;
}

}  // namespace

// ---- The walk -----------------------------------------------------------------------------------

namespace {

/// Walks depth first and prints each node as soon as it is read. The children of 30 neighbours are
/// read together.
class Tree {
  public:
    explicit Tree(const TreeOptions& options) : options_(options), session_(options.server.url) {
        for (const std::string& filter : options.filters)
            filters_.push_back(lowered(filter));
    }

    ExitStatus run() {
        catchStopSignals();
        if (!connect(session_, options_.server.waitSeconds, kNoConnection)) return kCannotConnect;
        std::vector<Node> nodes(1);
        UA_StatusCode status = readStart(nodes.front());
        if (status == UA_STATUSCODE_GOOD) status = walk(nodes, 0, {});
        std::fflush(stdout);
        if (status == UA_STATUSCODE_BADNODEIDUNKNOWN) {
            say(options_.start + ": " + explained(status, language()));
            return kNoValue;
        }
        if (status != UA_STATUSCODE_GOOD) return failed(session_, status);
        if (cut_) {
            say(in({"показано узлов: ", "nodes shown: "}) + std::to_string(shown_) +
                in({", есть ещё: --limit, --depth, --filter или узел ниже",
                    ", there are more: --limit, --depth, --filter, or a node further down"}));
            return kIncomplete;
        }
        if (shown_ == 0) say(in({"выбору не отвечает ни один узел", "no node matches"}));
        return shown_ > 0 ? kDone : kNoValue;
    }

  private:
    UA_StatusCode readStart(Node& start) {
        const std::string text = options_.start.empty() ? "i=85" : options_.start;
        UA_StatusCode status = findNode(session_, text, start.child.id);
        if (status != UA_STATUSCODE_GOOD) return status;
        const UA_NodeId& id = *start.child.id;
        std::vector<DataValue> names;
        std::vector<DataValue> classes;
        status = session_.read({&id}, UA_ATTRIBUTEID_DISPLAYNAME, names);
        if (status == UA_STATUSCODE_GOOD)
            status = session_.read({&id}, UA_ATTRIBUTEID_NODECLASS, classes);
        if (status != UA_STATUSCODE_GOOD) return status;
        if (!hasValue(*classes.front())) return UA_STATUSCODE_BADNODEIDUNKNOWN;
        const UA_NodeId objects = UA_NODEID_NUMERIC(0, UA_NS0ID_OBJECTSFOLDER);
        withStandard_ = id.namespaceIndex == 0 && !UA_NodeId_equal(&id, &objects);
        start.child.name = formatValue(names.front()->value);
        if (start.child.name.empty()) start.child.name = idText(id);
        start.child.isVariable =
            *static_cast<const UA_Int32*>(classes.front()->value.data) == UA_NODECLASS_VARIABLE;
        start.shown = filters_.empty();
        return status;
    }

    /// @param path  of the nodes' parent below the start
    UA_StatusCode walk(std::span<Node> nodes, std::size_t level, const std::string& path) {
        while (!nodes.empty() && !stopped()) {
            const auto chunk = nodes.first(std::min(Session::kNodesPerBrowse, nodes.size()));
            std::vector<std::vector<Node>> below;
            UA_StatusCode status = enter(chunk, level, path, below);
            if (status == UA_STATUSCODE_GOOD) status = describe(chunk);
            const int width = nameWidth(chunk);
            for (std::size_t i = 0; status == UA_STATUSCODE_GOOD && i < chunk.size(); ++i) {
                status = show(chunk[i], below[i], level, path, width);
            }
            if (status != UA_STATUSCODE_GOOD) return status;
            nodes = nodes.subspan(chunk.size());
        }
        return UA_STATUSCODE_GOOD;
    }

    [[nodiscard]] bool stopped() {
        const bool enough = shown_ >= options_.limit || entered_.full();
        cut_ = cut_ || enough;
        return enough || stopRequested() || std::ferror(stdout) != 0;
    }

    /// Reads what lies below the nodes, and their units.
    UA_StatusCode enter(std::span<Node> nodes, std::size_t level, const std::string& path,
                        std::vector<std::vector<Node>>& below) {
        below.clear();
        below.resize(nodes.size());
        std::vector<const UA_NodeId*> ids;
        std::vector<std::size_t> indices;
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            if (!mayHaveChildren(session_, nodes[i].child)) continue;
            if (level >= static_cast<std::size_t>(options_.depth) && !nodes[i].child.isVariable) {
                cut_ = cut_ || options_.depth == kMostDepth;
                continue;
            }
            nodes[i].again = !entered_.add(*nodes[i].child.id);
            if (nodes[i].again) continue;
            ids.push_back(nodes[i].child.id.get());
            indices.push_back(i);
        }
        std::vector<std::vector<Child>> lists;
        UA_StatusCode status = session_.browse(ids, lists);
        if (status == UA_STATUSCODE_GOOD) status = readUnits(nodes, indices, lists);
        if (status != UA_STATUSCODE_GOOD) return status;
        if (level >= static_cast<std::size_t>(options_.depth)) return status;
        std::size_t count = 0;
        for (std::size_t i = 0; i < lists.size(); ++i) {
            below[indices[i]] =
                nodesOf(std::move(lists[i]), joined(path, nodes[indices[i]], level));
            count += below[indices[i]].size();
        }
        return count <= kMostTogether ? describeAll(below) : status;
    }

    /// Replaces each property EngineeringUnits by the unit of its node.
    UA_StatusCode readUnits(std::span<Node> nodes, const std::vector<std::size_t>& indices,
                            std::vector<std::vector<Child>>& lists) {
        std::vector<NodeId> units;
        std::vector<std::size_t> owners;
        for (std::size_t i = 0; i < lists.size(); ++i) {
            const auto unit = std::find_if(lists[i].begin(), lists[i].end(),
                                           [](const Child& child) { return child.isUnit; });
            if (unit == lists[i].end() || !nodes[indices[i]].child.isVariable) continue;
            units.push_back(std::move(unit->id));
            owners.push_back(indices[i]);
            lists[i].erase(unit);
        }
        std::vector<const UA_NodeId*> ids;
        ids.reserve(units.size());
        for (const NodeId& unit : units)
            ids.push_back(unit.get());
        std::vector<DataValue> values;
        const UA_StatusCode status = session_.read(ids, UA_ATTRIBUTEID_VALUE, values);
        for (std::size_t i = 0; i < values.size(); ++i)
            nodes[owners[i]].unit = unitText(values[i]->value);
        return status;
    }

    [[nodiscard]] static std::string joined(const std::string& path, const Node& node,
                                            std::size_t level) {
        if (level == 0) return {};  // the start itself is no part of paths
        return path.empty() ? node.child.name : path + "/" + node.child.name;
    }

    /// Numbers in names are compared as numbers.
    std::vector<Node> nodesOf(std::vector<Child> children, const std::string& path) {
        std::sort(children.begin(), children.end(), [](const Child& a, const Child& b) {
            return strverscmp(a.name.c_str(), b.name.c_str()) < 0;
        });
        std::vector<Node> nodes;
        for (Child& child : children) {
            if (child.id->namespaceIndex == 0 && !withStandard_) continue;
            Node node;
            node.child = std::move(child);
            node.shown = matches(node.child, path);
            nodes.push_back(std::move(node));
        }
        seen_ += nodes.size();
        return nodes;
    }

    [[nodiscard]] bool matches(const Child& child, const std::string& path) const {
        return filters_.empty() ||
               std::any_of(filters_.begin(), filters_.end(), [&](const std::string& filter) {
                   return matchesFilter(*child.id, path + "/" + child.name, filter);
               });
    }

    UA_StatusCode describeAll(std::vector<std::vector<Node>>& lists) {
        std::vector<Node*> nodes;
        for (auto& list : lists) {
            for (Node& node : list)
                nodes.push_back(&node);
        }
        return describe(nodes);
    }

    UA_StatusCode describe(std::span<Node> nodes) {
        std::vector<Node*> all;
        all.reserve(nodes.size());
        for (Node& node : nodes)
            all.push_back(&node);
        return describe(all);
    }

    /// Reads the details of the variables that are shown, unless they were read before.
    UA_StatusCode describe(const std::vector<Node*>& nodes) {
        std::vector<const UA_NodeId*> ids;
        std::vector<Node*> asked;
        for (Node* node : nodes) {
            if (!node->shown || !node->child.isVariable || node->details) continue;
            ids.push_back(node->child.id.get());
            asked.push_back(node);
        }
        if (ids.empty()) return UA_STATUSCODE_GOOD;
        std::vector<Details> details;
        const UA_StatusCode status = readDetails(session_, ids, details);
        for (std::size_t i = 0; status == UA_STATUSCODE_GOOD && i < asked.size(); ++i)
            asked[i]->details = std::move(details[i]);
        return status;
    }

    static int nameWidth(std::span<const Node> nodes) {
        constexpr int kMostColumns = 40;
        int width = 0;
        for (const Node& node : nodes) {
            if (node.details) width = std::max(width, displayWidth(node.child.name));
        }
        return std::min(width, kMostColumns);
    }

    /// Prints a node and what is below it.
    UA_StatusCode show(Node& node, std::vector<Node>& below, std::size_t level,
                       const std::string& path, int width) {
        if (stopped()) return UA_STATUSCODE_GOOD;
        const std::string own = joined(path, node, level);
        if (node.shown) {
            if (options_.server.json) {
                print(jsonLine(jsonOf(node, own)));
            } else {
                for (; printed_ < above_.size(); ++printed_)
                    print(above_[printed_]);
                print(lineOf(node, level, width));
            }
            ++shown_;
        }
        showProgress();
        above_.push_back(lineOf(node, level, width));
        if (node.shown) printed_ = above_.size();
        const UA_StatusCode status = walk(below, level + 1, own);
        above_.pop_back();
        printed_ = std::min(printed_, above_.size());
        return status;
    }

    /// Only where lines of the tree do not show it.
    void showProgress() {
        const auto now = std::chrono::steady_clock::now();
        if (now < nextProgress_ || (isTerminal() && filters_.empty())) return;
        nextProgress_ = now + std::chrono::seconds{1};
        say(in({"просмотрено узлов: ", "nodes seen: "}) + std::to_string(seen_));
    }

    static constexpr std::size_t kMostTogether = 1000;  // values that are read ahead

    const TreeOptions& options_;
    Session session_;
    std::vector<std::string> filters_;  // lower case
    bool withStandard_ = false;         // shows the standard's own namespace too
    SeenNodes entered_;
    std::vector<std::string> above_;  // lines from the start to the current node
    std::size_t printed_ = 0;         // how many of them were printed
    std::size_t seen_ = 0;
    std::size_t shown_ = 0;
    bool cut_ = false;
    std::chrono::steady_clock::time_point nextProgress_ =
        std::chrono::steady_clock::now() + std::chrono::seconds{1};
};

}  // namespace

void addTreeCommand(CommandLine& line, ExitStatus& status) {
    auto options = std::make_shared<TreeOptions>();
    CLI::App& command = addServerCommand(
        line, "tree",
        {"Показывает дерево узлов с типами, правами (R — чтение, W — запись, H — история) и "
         "значениями",
         "Shows the tree of nodes with types, access (R read, W write, H history) and values"},
        options->server);
    command
        .add_option(
            "node", options->start,
            in({"Откуда начать: узел \"ns=2;s=...\" или путь \"Котельная/Operative/1_VA\"; иначе "
                "Objects без узлов самого стандарта",
                "Where to begin: a node \"ns=2;s=...\" or a path \"Котельная/Operative/1_VA\"; by "
                "default Objects without the standard's own nodes"}))
        ->type_name(in({"УЗЕЛ", "NODE"}));
    command
        .add_option("--depth", options->depth, in({"Не глубже стольких уровней", "Levels at most"}))
        ->capture_default_str()
        ->check(numberFrom(0, kMostDepth))
        ->type_name(in({"ЧИСЛО", "COUNT"}));
    command
        .add_option("--limit", options->limit,
                    in({"Показать не больше стольких узлов", "Show so many nodes at most"}))
        ->capture_default_str()
        ->check(numberFrom(1, 5'000'000))
        ->type_name(in({"ЧИСЛО", "COUNT"}));
    addFilter(command, options->filters);
    command.callback([options, &status] { status = Tree{*options}.run(); });
}

}  // namespace tools::opcuaview
