#include "server/history/HistoricalTree.h"

#include <algorithm>
#include <limits>
#include <optional>

#include "jxotr/IHDA_BrowseConfig.h"
#include "server/history/RTEXContext.h"
#include "server/opcua/UaView.h"
#include "server/plan/TreeNames.h"

namespace {

constexpr UA_UInt32 kOrganizes = 35;
constexpr UA_UInt32 kHasComponent = 47;
constexpr UA_UInt32 kBaseObjectType = 58;
constexpr UA_UInt32 kBaseDataVariableType = 63;

constexpr std::size_t kMostValuesOfAResponse = 10'000;
constexpr std::uint64_t kMostPens = std::numeric_limits<std::int32_t>::max();  // by their type

// ---- The trend system's own configuration ------------------------------------------------------
// The records belong to the library and are valid until its next call, so numbers are copied at
// once.

std::optional<std::uint64_t> plotterCount(IHDA_BrowseConfig& browse) {
    jxo::CTrendsControlSettingsExt* settings = nullptr;
    if (browse.GetConfigAll(false, &settings) != 0 || settings == nullptr) return std::nullopt;
    return settings->plotterCount;
}

std::optional<std::uint64_t> penCount(IHDA_BrowseConfig& browse, int plotter) {
    OPCHDAITEMDEF item{static_cast<std::uint32_t>(plotter), 0};
    jxo::CPlotterSettingsExt* settings = nullptr;
    HRESULT* errors = nullptr;
    const HRESULT result = browse.GetConfigPlotters(1, &item, false, &settings, &errors);
    if (result != 0 || settings == nullptr) return std::nullopt;
    return settings->penCount;
}

const jxo::CPenSettingsExt* penSettings(IHDA_BrowseConfig& browse, int plotter, int pen) {
    OPCHDAITEMDEF item{static_cast<std::uint32_t>(plotter), static_cast<std::uint32_t>(pen)};
    jxo::CPenSettingsExt* settings = nullptr;
    HRESULT* errors = nullptr;
    return browse.GetConfigPens(1, &item, &settings, &errors) == 0 ? settings : nullptr;
}

// ---- Which pens --------------------------------------------------------------------------------

/// The pens that the configuration lists for a plotter; null when it does not name the plotter.
const std::vector<std::int32_t>* listedPens(const PenLists& lists, int plotter) {
    for (const auto& ofSection : lists) {
        const auto found = ofSection.find(plotter);
        if (found != ofSection.end()) return &found->second;
    }
    return nullptr;
}

// ---- Nodes -------------------------------------------------------------------------------------

/// Sets a scalar of the pen's type, so that clients see what type its history has; types other than
/// these two keep the library's defaults. The value is not copied.
void describeType(std::int16_t valueType, UA_VariableAttributes& attributes) {
    static UA_Float zero = 0;
    static UA_Boolean no = false;
    if (valueType == jxo::kVtFloat) {
        UA_Variant_setScalar(&attributes.value, &zero, &UA_TYPES[UA_TYPES_FLOAT]);
    } else if (valueType == jxo::kVtBoolean) {
        UA_Variant_setScalar(&attributes.value, &no, &UA_TYPES[UA_TYPES_BOOLEAN]);
    } else {
        return;
    }
    attributes.valueRank = UA_VALUERANK_SCALAR;
    attributes.dataType = attributes.value.type->typeId;
}

UA_StatusCode addPlotterFolder(const AddressSpace& space, const std::string& name) {
    const UA_UInt16 ns = space.ns;
    UA_ObjectAttributes attributes = UA_ObjectAttributes_default;
    attributes.displayName = uaTextView("ru-RU", name);
    attributes.description = uaTextView("ru-RU", name);
    return UA_Server_addObjectNode(
        space.server, uaNodeIdView(ns, name), space.numericId(kHistoricalFolder),
        UA_NODEID_NUMERIC(0, kHasComponent), uaNameView(ns, name),
        UA_NODEID_NUMERIC(0, kBaseObjectType), attributes, nullptr, nullptr);
}

struct PenToPublish {
    int plotter;
    int pen;
    std::int16_t valueType;  // type code
    std::string tagName;
    PenIds ids;
};

UA_StatusCode addPenNode(const AddressSpace& space, const UA_NodeId& parent,
                         const PenToPublish& pen) {
    const UA_UInt16 ns = space.ns;
    UA_VariableAttributes attributes = UA_VariableAttributes_default;
    attributes.displayName = uaTextView("ru-RU", pen.tagName);
    attributes.description = uaTextView("ru-RU", pen.ids.description);
    attributes.accessLevel = UA_ACCESSLEVELMASK_READ | UA_ACCESSLEVELMASK_HISTORYREAD;
    attributes.historizing = true;
    describeType(pen.valueType, attributes);
    return UA_Server_addVariableNode(space.server, uaNodeIdView(ns, pen.ids.nodeId), parent,
                                     UA_NODEID_NUMERIC(0, kOrganizes), uaNameView(ns, pen.tagName),
                                     UA_NODEID_NUMERIC(0, kBaseDataVariableType), attributes,
                                     nullptr, nullptr);
}

/// Adds the pen's node and registers it with the library and the history callbacks.
UA_StatusCode publishPen(const AddressSpace& space, RTEXContext& context, const UA_NodeId& parent,
                         const UA_HistoryDataGathering& gathering,
                         const UA_HistorizingNodeIdSettings& settings, const PenToPublish& pen) {
    UA_StatusCode status = addPenNode(space, parent, pen);
    if (status != UA_STATUSCODE_GOOD) return status;
    const UA_NodeId id = uaNodeIdView(space.ns, pen.ids.nodeId);
    status = gathering.registerNodeId(space.server, gathering.context, &id, settings);
    if (status != UA_STATUSCODE_GOOD) return status;
    context.plotterByNode.try_emplace(pen.ids.nodeId, pen.plotter);
    context.penByNode.try_emplace(pen.ids.nodeId, pen.pen);
    return UA_STATUSCODE_GOOD;
}

}  // namespace

// ---- The tree ----------------------------------------------------------------------------------

UA_StatusCode HistoricalTree::build(const Pens& pens, const std::vector<Section>& sections,
                                    const std::string& baseName) {
    IHDA_BrowseConfig browse;
    const std::uint64_t plotters = plotterCount(browse).value_or(0);
    if (plotters == 0) return UA_STATUSCODE_BADUNEXPECTEDERROR;
    const PlotterSelection selection = selectPlotters(sections, plotters);

    UA_StatusCode status = UA_STATUSCODE_GOOD;
    for (const auto& [plotter, configuredName] : selection.nameByPlotter) {
        const std::string folder = plotterFolderName(plotter, configuredName);
        const UA_StatusCode added = addPlotterFolder(space_, folder);
        if (added != UA_STATUSCODE_GOOD) return added;
        // KEPT: the status returned is that of the last plotter. Required by the interface.
        status = addPlotter(pens, {plotter, uaNodeIdView(space_.ns, folder), folder},
                            selection.pens, browse, baseName);
    }
    return status;
}

UA_StatusCode HistoricalTree::addPlotter(const Pens& pens, const Plotter& plotter,
                                         const PenLists& penLists, IHDA_BrowseConfig& browse,
                                         const std::string& baseName) {
    pens.settings.historizingBackend = pens.backend;
    pens.settings.maxHistoryDataResponseSize = kMostValuesOfAResponse;
    pens.settings.historizingUpdateStrategy = UA_HISTORIZINGUPDATESTRATEGY_VALUESET;

    const int number = plotter.number;
    const std::optional<std::uint64_t> pensOfPlotter = penCount(browse, number);
    if (!pensOfPlotter) return UA_STATUSCODE_BADUNEXPECTEDERROR;
    if (number < 0) return UA_STATUSCODE_GOOD;
    const std::vector<std::int32_t>* const list = listedPens(penLists, number);
    if (list == nullptr) return UA_STATUSCODE_GOOD;
    const bool listed = !list->empty();
    const std::uint64_t count =
        listed ? list->size() : std::min<std::uint64_t>(*pensOfPlotter, kMostPens);

    for (std::uint64_t index = 0; index < count; ++index) {
        const int pen = listed ? (*list)[index] : static_cast<int>(index + 1);
        const jxo::CPenSettingsExt* const of = penSettings(browse, number, pen);
        if (of == nullptr) continue;  // KEPT: not reported. Required by the interface.
        const std::string tagName =
            historyTagName(number, pen, of->variableNum, penKindWord(of->variableKind));
        const PenToPublish published{number, pen, of->valueType, tagName,
                                     penIds(listed, baseName, plotter.folderName, tagName)};
        const UA_StatusCode status =
            publishPen(space_, context_, plotter.folder, pens.gathering, pens.settings, published);
        if (status != UA_STATUSCODE_GOOD) return status;
    }
    return UA_STATUSCODE_GOOD;
}
