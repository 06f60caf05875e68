#pragma once

#include <open62541/plugin/historydata/history_data_backend.h>
#include <open62541/plugin/historydata/history_data_gathering.h>

#include <string>
#include <vector>

#include "server/config/Section.h"
#include "server/history/RTEXContext.h"
#include "server/opcua/AddressSpace.h"
#include "server/plan/PlotterSelection.h"

class IHDA_BrowseConfig;

/// The tree of plotters and pens below the folder "Historical", which already exists. Main thread,
/// before the server runs.
class HistoricalTree {
  public:
    /// What each pen is registered with in the library.
    struct Pens {
        UA_HistoryDataBackend& backend;
        UA_HistoryDataGathering& gathering;
        UA_HistorizingNodeIdSettings& settings;  ///< filled
    };

    struct Plotter {
        int number;
        UA_NodeId folder;  ///< not owned
        const std::string& folderName;
    };

    /// @param context  receives the plotter and pen of each node; not owned
    HistoricalTree(const AddressSpace& space, RTEXContext& context)
        : space_(space), context_(context) {}

    /// The folders of the plotters that the configuration names, with their pens.
    /// @param baseName  prefix of the ids of listed pens
    /// @return BADUNEXPECTEDERROR without a trend system or with one that has no plotter; else the
    ///         status of the add that failed, or of the last plotter. What was built stays.
    UA_StatusCode build(const Pens& pens, const std::vector<Section>& sections,
                        const std::string& baseName);

    /// The pens of one plotter, below its folder. Pens that the trend system does not have are
    /// silently left out.
    /// @param browse  not owned; its records are used before its next call
    /// @return Good, also for a plotter that is in no list; otherwise the status of the failed step
    UA_StatusCode addPlotter(const Pens& pens, const Plotter& plotter, const PenLists& penLists,
                             IHDA_BrowseConfig& browse, const std::string& baseName);

  private:
    AddressSpace space_;
    RTEXContext& context_;
};
