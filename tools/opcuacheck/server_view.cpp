#include "tools/opcuacheck/server_view.h"

#include <algorithm>
#include <limits>
#include <set>
#include <utility>

#include "server/bounds/ConfigBounds.h"
#include "server/config/ConfigState.h"
#include "server/config/GeneralSettings.h"
#include "server/config/IniConfigManager.h"
#include "server/config/ListSections.h"
#include "server/diagnostics/MsgHandler.h"
#include "server/plan/TagConfig.h"
#include "server/text/ToUTF8Converter.h"

namespace tools::opcuacheck {

// ---- Lists of numbers --------------------------------------------------------------------------

std::int64_t expandedCount(const std::vector<NumberRange>& ranges) {
    std::int64_t count = 0;
    for (const auto& [first, last] : ranges) {
        if (first > last) continue;
        count += std::int64_t{last} - first + 1;
        if (first <= 0 && last >= 0) --count;
    }
    return count;
}

std::vector<NumberRange> mergedRanges(std::vector<NumberRange> ranges) {
    for (NumberRange& range : ranges) {
        range.first = std::max(range.first, 1);
    }
    std::erase_if(ranges, [](const NumberRange& range) { return range.first > range.last; });
    std::ranges::sort(ranges, {}, &NumberRange::first);
    std::vector<NumberRange> merged;
    for (const NumberRange& range : ranges) {
        if (!merged.empty() && range.first - 1 <= merged.back().last) {
            merged.back().last = std::max(merged.back().last, range.last);
        } else {
            merged.push_back(range);
        }
    }
    return merged;
}

namespace {

/// Shortens the number lists to what a database can contain, so that expanding them is harmless.
/// The server's result stays the same; a list that contains only numbers that do not exist keeps
/// the first one, because the server distinguishes it from an empty list.
class ListClipper {
  public:
    explicit ListClipper(const Database& database) : database_(database) {}

    std::string clipped(const KeyValue& entry) {
        const int most = lastNumber(entry.key);
        if (most < 0) return entry.value;
        const NumberList list = readNumberList(entry.value);
        if (list.all || list.badItem) return entry.value;
        std::string text;
        for (const auto& [first, last] : mergedRanges(list.ranges)) {
            const bool exists = first <= most;
            if (!exists && !text.empty()) break;
            const int end = exists ? std::min(last, most) : first;
            total_ += end - first + 1;
            text.append(text.empty() ? "" : ",").append(std::to_string(first));
            text.append("-").append(std::to_string(end));
        }
        return text;
    }

    std::int64_t total() const { return total_; }

  private:
    /// -1 for a key that is not a list.
    int lastNumber(const std::string& key) const {
        if (key == "Pens") return kLastTagNumber;
        const VariableKind* const kind = kindListedBy(key);
        if (kind == nullptr) return -1;
        return database_.countOf(kind->type).value_or(kLastTagNumber);
    }

    const Database& database_;
    std::int64_t total_ = 0;
};

// ---- Items -------------------------------------------------------------------------------------

/// What becomes of the planned items: the same for every tag of the type.
TypeItems outcomeOf(const ItemPlan& plan) {
    TypeItems outcome;
    std::set<std::string> taken;
    for (const ItemPlan::Item& item : plan.items) {
        outcome.added = true;
        outcome.rolledBack = !taken.insert(item.idTail).second;
        if (!outcome.rolledBack) outcome.items.push_back(item);
    }
    return outcome;
}

// ---- Trees -------------------------------------------------------------------------------------

/// Publishes tags in the server's order and records the results.
class TreeWork {
  public:
    TreeWork(ServerView& view, const std::vector<Section>& sections, const Database& database)
        : view_(view), sections_(sections), database_(database) {
        assumeCounts();
    }

    void run() {
        for (const VariableType kind : kStartOrder) {
            for (int tag = 1; tag <= countOf(kind); ++tag) {
                if (listsTag(view_.flat[static_cast<std::size_t>(kind)], tag))
                    publish(kind, tag, 0);
            }
        }
        GroupMembership membership(view_.groups);
        if (view_.groups.empty()) return;
        for (const VariableType kind : kStartOrder) {
            for (int tag = 1; tag <= countOf(kind); ++tag) {
                for (const TagGroup* const group : membership.groupsOf(kind, tag)) {
                    publish(kind, tag, group->folderId);
                }
            }
        }
    }

  private:
    int countOf(VariableType kind) const {
        return view_.assumedCounts[static_cast<std::size_t>(kind)];
    }

    void assumeCounts() {
        for (std::size_t kind = 0; kind < kKinds.size(); ++kind) {
            int& count = view_.assumedCounts[kind];
            count = database_.counts[kind].value_or(1);
            if (!database_.counts[kind]) {
                const auto raise = [&count](const TagList& list) {
                    for (const std::int32_t number : list) {
                        if (number <= kLastTagNumber) count = std::max(count, number);
                    }
                };
                raise(view_.flat[kind]);
                for (const TagGroup& group : view_.groups) {
                    raise(group.lists[kind]);
                }
            }
            owners_[kind].assign(static_cast<std::size_t>(count) + 1, kNobody);
        }
    }

    void publish(VariableType kind, int tag, int groupFolder) {
        int& owner = owners_[static_cast<std::size_t>(kind)][static_cast<std::size_t>(tag)];
        if (owner != kNobody) return noteConflict(kind, tag, groupFolder, owner);
        const std::optional<int> rvType = database_.rvTypeOf(kind, tag);
        for (int type = rvType.value_or(0); type <= rvType.value_or(2); ++type) {
            const PublishedType* const published = findPublishedType(static_cast<int>(kind), type);
            if (itemsOf(*published, groupFolder).rolledBack) continue;
            owner = groupFolder;
            view_.tags.push_back({published, tag, groupFolder, rvType.has_value()});
        }
    }

    const TypeItems& itemsOf(const PublishedType& type, int groupFolder) {
        const auto [place, isNew] = view_.items.try_emplace(std::pair(type.folderId, groupFolder));
        if (!isNew) return place->second;
        const auto group = std::ranges::find(view_.groups, groupFolder, &TagGroup::folderId);
        const EntrySource source =
            group == view_.groups.end() ? EntrySource::flat() : group->entries;
        std::vector<TagInfo> entries = readTagConfig(sections_, type.marker, source);
        if (database_.attributes) {
            const auto& known = (*database_.attributes)[static_cast<std::size_t>(type.kind)];
            noteMissing(entries, type, [&](int number) {
                return static_cast<std::size_t>(number) <= known.size();
            });
        }
        return place->second = outcomeOf(makeItemPlan(std::move(entries), type, source));
    }

    void noteConflict(VariableType kind, int tag, int groupFolder, int owner) {
        auto& indices = conflictAt_[static_cast<std::size_t>(kind)];
        const auto folder = static_cast<std::size_t>(groupFolder);
        if (indices.size() <= folder) indices.resize(folder + 1, kNone);
        if (indices[folder] == kNone) {
            indices[folder] = view_.conflicts.size();
            view_.conflicts.push_back({kind, groupFolder, tag, owner, 0});
        }
        ++view_.conflicts[indices[folder]].count;
    }

    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);
    static constexpr int kNobody = -1;

    ServerView& view_;
    const std::vector<Section>& sections_;
    const Database& database_;
    std::array<std::vector<int>, kKinds.size()> owners_;              // group folder by tag number
    std::array<std::vector<std::size_t>, kKinds.size()> conflictAt_;  // by group folder
};

/// Collects what the server would post and log, during its lifetime.
class ReportTaker {
  public:
    explicit ReportTaker(ServerView& view) {
        usedLines.clear();
        missAttrManager = {};
        redirectConfigErrors([this, &view](const ConfigErrorReport& report) {
            view.reports.push_back({report, !asleep_});
            asleep_ = asleep_ || report.error == ConfigError::serverPort;
        });
    }
    ~ReportTaker() { redirectConfigErrors({}); }
    ReportTaker(const ReportTaker&) = delete;
    ReportTaker& operator=(const ReportTaker&) = delete;

  private:
    bool asleep_ = false;
};

void workOutTrees(ServerView& view, const Database& database) {
    ListClipper clipper(database);
    std::vector<Section> sections = view.sections;
    for (Section& section : sections) {
        for (KeyValue& entry : section.params) {
            entry.value = clipper.clipped(entry);
        }
    }
    view.worked = clipper.total() <= kMostTags;
    if (!view.worked) return;

    view.plotters = selectPlotters(sections, std::numeric_limits<std::uint64_t>::max());
    view.flat = flatTagLists(sections);
    view.groups = readTagGroups(sections);
    TreeWork(view, sections, database).run();
}

}  // namespace

ServerView viewAsServer(const std::string& path, const std::string& settingsPath,
                        const Database& database) {
    ServerView view;
    const ReportTaker taker(view);
    iniFilePath = path;
    useControllerSettings(settingsPath);
    declareSchema(ListSections::getInstance());
    (void)IniConfigManager::readConfigFile(path, view.sections);

    view.applicationName =
        ToUTF8Converter::convertCP866ToUtf8_manual(applicationNameCp866(view.sections));
    view.cycleTimeMs = getMsgHandler().getCycleTimeMsg();
    view.operative = switchedOn(view.sections, "OperativeData");
    view.historical = switchedOn(view.sections, "HistoricalData");
    const std::size_t reportsOfLoading = view.reports.size();
    workOutTrees(view, database);
    // Without operative data the server builds no tree, so it reports no entries.
    if (!view.operative) view.reports.resize(reportsOfLoading);
    if (view.operative) missAttrManager.sendMessage();
    view.port = readServerPort(view.sections);
    (void)readSamplingInterval(view.sections, view.cycleTimeMs, 0);
    return view;
}

}  // namespace tools::opcuacheck
