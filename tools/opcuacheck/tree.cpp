#include "tools/opcuacheck/tree.h"

#include <map>
#include <set>
#include <utility>

#include "server/kinds/AccessTables.h"
#include "server/plan/TreeNames.h"
#include "tools/opcuacheck/finding.h"

namespace tools::opcuacheck {

namespace {

std::string numericId(unsigned number) {
    return "i=" + std::to_string(number);
}

std::string lettersOf(Access right) {
    constexpr const char* kLetters[] = {"", "R", "W", "RW"};
    return kLetters[static_cast<std::size_t>(right)];
}

class TreeBuilder {
  public:
    TreeBuilder(const ServerView& view, const Database& database)
        : view_(view), database_(database) {
        for (const PublishedTag& tag : view.tags) {
            tagsAt_[{tag.groupFolder, tag.type->folderId}].push_back(&tag);
        }
    }

    std::vector<TreeNode> built() {
        if (!view_.worked || !(view_.operative || view_.historical)) return {};
        const bool named = !view_.applicationName.empty();
        const int depth = named ? 1 : 0;
        const std::string top = named ? numericId(kApplicationFolder) : kObjectsFolder;
        if (named) addFolder(top, kObjectsFolder, view_.applicationName, 0);
        if (view_.operative) addOperative(top, depth);
        if (view_.historical) addHistorical(top, depth);
        return std::move(nodes_);
    }

  private:
    void addFolder(const std::string& id, const std::string& parent, const std::string& name,
                   int depth) {
        nodes_.push_back({.id = id, .parentId = parent, .name = name, .depth = depth});
    }

    // ---- Operative ----

    void addOperative(const std::string& top, int depth) {
        const std::string operative = numericId(kOperativeFolder);
        addFolder(operative, top, "Operative", depth);
        for (const PublishedType& type : kPublishedTypes) {
            if (!keepsFolder(type)) continue;
            addFolder(numericId(type.folderId), operative, std::string(type.folderName), depth + 1);
            nodes_.back().uncertain = type.kind == VariableType::RV && !database_.manualInputs;
            const std::string prefix = operativePrefix(view_.applicationName).append(type.itemText);
            addTags(type, 0, numericId(type.folderId), prefix, depth + 2);
        }
        for (const TagGroup& group : view_.groups) {
            const std::string folder = numericId(static_cast<unsigned>(group.folderId));
            addFolder(folder, operative, group.folderName, depth + 1);
            for (const PublishedType& type : kPublishedTypes) {
                addGroupedType(group, type, folder, depth + 2);
            }
        }
    }

    /// The two rules by which the server removes folders without tags.
    bool keepsFolder(const PublishedType& type) const {
        const auto kind = static_cast<std::size_t>(type.kind);
        if (type.kind != VariableType::RV) {
            return !view_.flat[kind].empty() || view_.assumedCounts[kind] == 0;
        }
        // One flag is used for the flat tree, before the groups are built.
        const auto items = view_.items.find({type.folderId, 0});
        return items != view_.items.end() && items->second.added;
    }

    void addGroupedType(const TagGroup& group, const PublishedType& type, const std::string& folder,
                        int depth) {
        const std::string prefix = groupItemPrefix(operativePrefix(view_.applicationName), type,
                                                   groupText(group.folderName));
        if (type.kind != VariableType::RV) {
            return addTags(type, group.folderId, folder, prefix, depth);
        }
        if (!listsManualInput(group, type.rvType)) return;
        const std::string id =
            "s=" + std::to_string(group.folderId) + "_" + std::string(type.folderName);
        addFolder(id, folder, std::string(type.folderName), depth);
        nodes_.back().uncertain = !database_.manualInputs;
        addTags(type, group.folderId, id, prefix, depth + 1);
    }

    /// The folder is made for a listed tag even if the tag itself is refused afterwards.
    bool listsManualInput(const TagGroup& group, int rvType) const {
        constexpr auto kRV = static_cast<std::size_t>(VariableType::RV);
        for (int tag = 1; tag <= view_.assumedCounts[kRV]; ++tag) {
            if (database_.rvTypeOf(VariableType::RV, tag).value_or(rvType) != rvType) continue;
            if (listsTag(group.lists[kRV], tag)) return true;
        }
        return false;
    }

    void addTags(const PublishedType& type, int groupFolder, const std::string& parent,
                 const std::string& prefix, int depth) {
        const auto tags = tagsAt_.find({groupFolder, type.folderId});
        if (tags == tagsAt_.end()) return;
        const TypeItems& items = view_.items.at({type.folderId, groupFolder});
        for (const PublishedTag* tag : tags->second) {
            const std::string name =
                std::string(kindOf(type.kind).structPrefix) + std::to_string(tag->tag);
            nodes_.push_back({.id = "s=" + name,
                              .parentId = parent,
                              .name = name,
                              .depth = depth,
                              .kind = NodeKind::tag,
                              .uncertain = !tag->typeKnown,
                              .type = &type});
            for (const ItemPlan::Item& item : items.items) {
                nodes_.push_back(itemNode(type, item, prefix, name, depth + 1));
                nodes_.back().uncertain = !tag->typeKnown;
            }
        }
    }

    TreeNode itemNode(const PublishedType& type, const ItemPlan::Item& item,
                      const std::string& prefix, const std::string& structId, int depth) const {
        const int number = item.info.attributeNumber;
        std::string dataType;
        if (database_.attributes) {
            const auto& types = (*database_.attributes)[static_cast<std::size_t>(type.kind)];
            const auto index = static_cast<std::size_t>(number) - 1;
            dataType = publishedTypeName(index < types.size() ? types[index] : none);
        }
        return {.id = "s=" + prefix + structId + item.idTail,
                .parentId = "s=" + structId,
                .name = item.nameUtf8,
                .depth = depth,
                .kind = NodeKind::item,
                .dataType = dataType,
                .access = lettersOf(item.access.right),
                .type = &type,
                .attribute = number};
    }

    // ---- Historical ----

    void addHistorical(const std::string& top, int depth) {
        const std::string historical = numericId(kHistoricalFolder);
        addFolder(historical, top, "Historical", depth);
        std::set<std::string> folders;
        for (const auto& [plotter, name] : view_.plotters.nameByPlotter) {
            const std::string folder = plotterFolderName(plotter, name);
            if (!folders.insert(folder).second) return;  // the server stops here
            addFolder("s=" + folder, historical, folder, depth + 1);
            nodes_.back().kind = NodeKind::plotter;
            nodes_.back().uncertain = true;  // the trend system may not have it
            addPens(plotter, folder, depth + 2);
        }
    }

    void addPens(int plotter, const std::string& folder, int depth) {
        for (const auto& list : view_.plotters.pens) {
            const auto pens = list.find(plotter);
            if (pens == list.end()) continue;
            if (pens->second.empty()) return addPen(plotter, 0, folder, depth);
            for (const std::int32_t pen : pens->second) {
                addPen(plotter, pen, folder, depth);
            }
            return;
        }
    }

    /// @param pen  0: all pens of the plotter
    void addPen(int plotter, int pen, const std::string& folder, int depth) {
        // "R1_P2._0": only the trend system knows which variable it records.
        std::string name = historyTagName(plotter, pen, 0, "");
        name.erase(name.find('.'));
        if (pen == 0) name.back() = '*';
        name += ".*";
        const PenIds ids = penIds(pen != 0, historicalPrefix(view_.applicationName), folder, name);
        nodes_.push_back({.id = "s=" + ids.nodeId,
                          .parentId = "s=" + folder,
                          .name = name,
                          .depth = depth,
                          .kind = NodeKind::pen,
                          .access = "R+H",
                          .uncertain = true});
    }

    const ServerView& view_;
    const Database& database_;
    std::map<std::pair<int, unsigned>, std::vector<const PublishedTag*>> tagsAt_;
    std::vector<TreeNode> nodes_;
};

}  // namespace

std::vector<TreeNode> treeOf(const ServerView& view, const Database& database) {
    return TreeBuilder(view, database).built();
}

}  // namespace tools::opcuacheck
