#pragma once

#include <open62541/plugin/historydata/history_data_gathering.h>
#include <open62541/server.h>

#include <map>
#include <string>
#include <string_view>

#include "server/bounds/ConfigBounds.h"
#include "server/opcua/AddressSpace.h"
#include "server/operative/StructureItems.h"
#include "server/plan/PlotterSelection.h"

class IHDA_BrowseConfig;
class UARTEXVariable;

/// The OPC UA server of the process: owns the library's server instance, knows the endpoint's
/// settings and builds the address space. One object, `uaserver`. Main thread; the library calls
/// back on the same thread while run() is under way.
class UAServer {
  public:
    // ---- The instance and its endpoint ----

    /// Makes a server instance with the namespace "urn:vesk"; of the library's log only errors are
    /// printed.
    /// @throws std::runtime_error "Failed to create server instance"
    UAServer();
    ~UAServer();
    UAServer(const UAServer&) = delete;
    UAServer& operator=(const UAServer&) = delete;

    /// Takes the port from the configuration. Returns only if it is valid; otherwise reports
    /// configuration error 3 and sleeps forever.
    void setServerPort();
    void setApplicationName();
    /// Sets the sampling interval from the configuration; reports configuration error 2 for invalid
    /// values.
    void setSourcesSampleInterval();
    bool operativeDataMode() const;
    bool historicalDataMode() const;

    // Apply the settings to the library's configuration. configurePort comes first, because it
    // resets everything that the library's minimal configuration covers.
    void configurePort();
    void configureSubscriptionLimits();
    void configureApplicationName();
    void denyNodeManagement();

    /// Runs the server loop until SIGINT or SIGTERM. From the call until the process ends, these
    /// signals have no other effect, however many arrive. A loop that ends with a bad status is
    /// reported; a good end is not.
    /// @param modeText  what is published, for the operators; CP866
    void run(const std::string& modeText);

    UA_Server* instance() const { return server_; }
    UA_UInt16 namespaceIndex() const { return namespaceIndex_; }

    // ---- Folders ----

    /// Adds a folder below `parent`, or below the Objects folder when that is null. A failure is
    /// not reported: the fixed folders are made once, and nodes below a missing one report the
    /// failure.
    /// @param name  UTF-8, browse and display name
    void createFolder(UA_NodeId requestedId, char* name, UA_NodeId* parent);

    /// Finds or adds the folder "<parentNumber>_<name>" below a folder with a numeric id.
    /// @param outId  optional: a copy of the folder's node id, which the caller clears; the null id
    ///               after a failure
    /// @return the status of the add that failed, which is logged too
    UA_StatusCode createFolderRVGroup(const char* name, int parentNumber, UA_NodeId* outId);

    // ---- Operative tree ----

    /// Builds folders, structures and value variables of every configured tag.
    /// @return Good unless the "Operative" folder could not be made; failures of single tags are
    ///         logged
    UA_StatusCode initializeOperativeTree();

    /// Adds one tag's structure object and its value variables, below the folder of its type.
    /// @param prefix  path prefix of the item ids
    /// @return the status of the structure's add, or of its items (the structure is then removed)
    UA_StatusCode createStructure(UARTEXVariable* variable, int tagNumber, std::string prefix);

    /// Adds the value variables of one tag below the node with the string id `parentId`.
    /// @param itemPrefix  all of an item's id that stands before the structure id
    /// @param mode        "main" or "group", see readTagConfig
    /// @return the status of the last add; a later success hides an earlier failure
    UA_StatusCode createUAItems(UARTEXVariable* variable, int tagNumber,
                                const std::string& parentId, const std::string& itemPrefix,
                                const std::string& mode, int groupNumber,
                                const std::map<int, int>& groupMap);

    // ---- Tag groups ----

    /// Builds the folder of every group below "Operative", with the structures of its tags. The
    /// flat tree was built before: it makes the parent folder and reads the application name.
    /// @return Good unless the "Operative" folder is missing; failures of single tags are logged
    UA_StatusCode initializeOperativeTreeGroup();

    /// As createStructure, but below the folder of a group. Manual inputs go below a folder of
    /// their type in it, which is made when missing.
    /// @param groupFolder  numeric node id of the group's folder
    /// @param groupMap     group number -> numeric node id of its folder
    /// @return the status of the folder, the structure or the items, whichever failed. A tag that
    ///         is already published cannot be published again: its first structure stays as it is.
    UA_StatusCode createStructureGroup(UARTEXVariable* variable, int tagNumber,
                                       const std::string& prefix, int groupFolder,
                                       const std::map<int, int>& groupMap);

    // ---- Historical tree ----

    /// Builds the folder "Historical" with a folder for each plotter that the configuration names,
    /// and their pens in it, and registers the pens with the library's gathering. Called before the
    /// server runs and after the application name was read.
    /// @param settings  filled; every pen is registered with it
    /// @return BADUNEXPECTEDERROR without a trend system or with one that has no plotter; else the
    ///         status of the add that failed, or of the last plotter. What was built stays.
    UA_StatusCode initializeHistoryTree(UA_HistoryDataBackend& backend,
                                        UA_HistoryDataGathering& gathering,
                                        UA_HistorizingNodeIdSettings& settings);

    /// The folders of the plotters, with their pens.
    /// @param baseName  prefix of the ids of listed pens
    UA_StatusCode createHistoricalStructure(UA_HistoryDataBackend& backend,
                                            UA_HistoryDataGathering& gathering,
                                            UA_HistorizingNodeIdSettings& settings,
                                            const std::string& baseName);

    /// The pens of one plotter, below its folder. Pens that the trend system does not have are
    /// silently left out.
    /// @param browse  not owned; its records are used before its next call
    /// @param folder  name of the plotter's folder
    /// @return Good, also for a plotter that is in no list; otherwise the status of the failed step
    UA_StatusCode createHistoryTag(const UA_NodeId& parent, int plotter, const PenLists& penLists,
                                   IHDA_BrowseConfig& browse, UA_HistoryDataBackend& backend,
                                   UA_HistoryDataGathering& gathering,
                                   UA_HistorizingNodeIdSettings& settings,
                                   const std::string& folder, const std::string& baseName);

    /// "R2_P5.AV_17", see historyTagName.
    std::string formHistoryTagName(int plotter, int pen, int variableNum,
                                   std::string_view kindWord) const;

    // ---- Callbacks of the value variables ----

    /// Read callback of every value variable. The library calls it on the server thread: once per
    /// read, and to check the value while the node is made.
    ///
    /// @param nodeContext  the node's VarContext; not owned, `varContexts` keeps it
    /// @param value        filled in place: scalar, status from the database quality, source time.
    ///                     The three flags are set whatever the database said.
    /// @return BADINTERNALERROR without a context (value untouched), BADOUTOFMEMORY, else GOOD: a
    ///         failed database read shows in value->status, never here.
    /// Holds the variable's mutex while it reads. The caller is C: never throws.
    static UA_StatusCode readNodeValue(UA_Server* server, const UA_NodeId* sessionId,
                                       void* sessionContext, const UA_NodeId* nodeId,
                                       void* nodeContext, UA_Boolean includeSourceTimeStamp,
                                       const UA_NumericRange* range, UA_DataValue* value) noexcept;

    /// Write callback of every value variable; the library has checked the access level before.
    ///
    /// @return BADINTERNALERROR without a context, BADTYPEMISMATCH without a value, else GOOD, even
    ///         if the database refused the value. Status and times sent along are ignored.
    static UA_StatusCode writeNodeValue(UA_Server* server, const UA_NodeId* sessionId,
                                        void* sessionContext, const UA_NodeId* nodeId,
                                        void* nodeContext, const UA_NumericRange* range,
                                        const UA_DataValue* value) noexcept;

  private:
    AddressSpace addressSpace() const { return {server_, namespaceIndex_}; }
    std::string applicationNameUtf8() const;

    UA_UInt16 namespaceIndex_ = 1;
    int port_ = 0;
    double samplingIntervalMs_ = kDefaultIntervalMs;
    std::string applicationNameCp866_;
    UA_Server* server_ = nullptr;  // owned
    StructureItems items_;
};
