#include "server/plan/PlotterSelection.h"

#include "server/config/NumberLists.h"
#include "server/config/SectionNames.h"

namespace {

void selectPlotter(int plotter, const Section& section, PlotterSelection& selection) {
    bool named = false;
    bool listed = false;
    for (const KeyValue& entry : section.params) {
        if (entry.key == "Name") {
            selection.nameByPlotter.try_emplace(plotter, entry.value);
            named = true;
        } else if (entry.key == "Pens") {
            selection.pens.push_back({{plotter, getNumbersTagsHistorical(entry.value)}});
            listed = true;
        }
    }
    if (!named) selection.nameByPlotter.try_emplace(plotter, section.name);
    if (!listed) selection.pens.push_back({{plotter, {}}});
}

}  // namespace

PlotterSelection selectPlotters(const std::vector<Section>& sections, std::uint64_t plotterCount) {
    PlotterSelection selection;
    for (const Section& section : sections) {
        if (!holdsPlotter(section.name)) continue;
        const int plotter = getNumberPlotter(section.name);
        if (plotter < 1 || static_cast<std::uint64_t>(plotter) > plotterCount) continue;
        selectPlotter(plotter, section, selection);
    }
    return selection;
}
