#pragma once

#include <open62541/client.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "server/opcua/UaHandle.h"
#include "server/opcua/UaView.h"
#include "tools/client/history_pager.h"
#include "tools/text/language.h"

namespace tools {

/// A server on this machine, at the port that the standard proposes.
inline constexpr const char* kDefaultUrl = "opc.tcp://localhost:4840";

using NodeId = OwnedNodeId;
using DataValue = OwnedDataValue;
using ByteString = OwnedByteString;
using BrowseResponse = UaHandle<UA_BrowseResponse, UA_TYPES_BROWSERESPONSE>;
using BrowseNextResponse = UaHandle<UA_BrowseNextResponse, UA_TYPES_BROWSENEXTRESPONSE>;
using HistoryReadResponse = UaHandle<UA_HistoryReadResponse, UA_TYPES_HISTORYREADRESPONSE>;
using ReadResponse = UaHandle<UA_ReadResponse, UA_TYPES_READRESPONSE>;
using WriteResponse = UaHandle<UA_WriteResponse, UA_TYPES_WRITERESPONSE>;

struct ClientDeleter {
    void operator()(UA_Client* client) const { UA_Client_delete(client); }
};
using OwnedClient = std::unique_ptr<UA_Client, ClientDeleter>;

/// The namespace of everything that the controller's server publishes. Other servers do not have it.
inline constexpr std::string_view kServerNamespace = "urn:vesk";

/// One object or variable found by browsing, in any namespace of the server.
struct Child {
    NodeId id;
    std::string name;  ///< display name, else browse name, else the node id; UTF-8, printable
    bool isVariable;
    bool isFolder;    ///< of type FolderType; a tag's structure object is not
    bool isProperty;  ///< it describes its parent
    bool isUnit;      ///< the property EngineeringUnits (OPC 10000-8, 5.6.3)
};

/// One way to reach a server, as the server itself lists it.
struct Endpoint {
    std::string url;
    UA_MessageSecurityMode mode;
    std::string policy;               ///< "None", "Basic256Sha256": the end of the policy's URI
    std::vector<std::string> tokens;  ///< who is admitted: "anonymous", "user name" ...
    std::string applicationName;
    std::string applicationUri;
    std::string productUri;
};

/// Asks a server, without a session, for its endpoints. All texts are printable.
[[nodiscard]] UA_StatusCode findEndpoints(const std::string& url,
                                          std::chrono::milliseconds answerTime,
                                          std::vector<Endpoint>& endpoints);

/// Why a server that answers does not admit this client.
enum class Barrier { none, encryptedOnly, noAnonymous };

/// The id as users type it, "ns=2;s=..."; printable.
[[nodiscard]] std::string idText(const UA_NodeId& id);

/// What one call of `Session::browse` takes at most, so that a list without an end does not keep others waiting.
struct BrowseLimits {
    std::size_t children;  ///< of all lists together
    std::chrono::milliseconds time;
};

/// Whether the server answered, but may answer a smaller request or one for other nodes.
[[nodiscard]] bool isRefusal(UA_StatusCode status);

/// One anonymous, unencrypted session of an OPC UA client. Every operation blocks, at most for the
/// response time given to the constructor. One thread at a time.
///
/// A bad status of a whole request means that the session is no longer usable: connect again. A
/// request that the server merely refuses (`isRefusal`) is divided, down to single nodes.
class Session {
  public:
    /// The server has few continuation points for lists that need several answers.
    static constexpr std::size_t kNodesPerBrowse = 30;

    /// Monitored items that one request creates or deletes, at most.
    static constexpr std::size_t kItemsPerCall = 1000;

    /// @param url  "opc.tcp://host:port"
    explicit Session(std::string url,
                     std::chrono::milliseconds answerTime = std::chrono::seconds{5});

    /// Closes an earlier connection and connects to any OPC UA server, at the first of its host's
    /// addresses that answers.
    [[nodiscard]] UA_StatusCode connect();

    /// After a failed connect: why the server will never admit this client, if that is known.
    [[nodiscard]] Barrier barrier() const { return barrier_; }

    /// After a failed connect: the reason for people, such as "BadConnectionRejected".
    [[nodiscard]] std::string problemText(UA_StatusCode status, Language language) const;

    /// The children of each node, in the server's order; `children` gets one list per node. A node
    /// that cannot be browsed has none. A list is cut after 2 000 000 children, or as `limitBrowse`
    /// says. If the server refuses the request for a single node, and there are others, that one has
    /// no children; the refusal of the only node is returned. The request is
    /// divided as the server's limits require; a caller that wants to stop early passes
    /// `kNodesPerBrowse` nodes at a time.
    [[nodiscard]] UA_StatusCode browse(const std::vector<const UA_NodeId*>& nodes,
                                       std::vector<std::vector<Child>>& children);

    void limitBrowse(BrowseLimits limits) { browseLimits_ = limits; }
    /// Whether the last `browse` left something out, because of a limit or of the server's refusal.
    [[nodiscard]] bool isBrowseCut() const { return browseCut_; }

    /// One attribute of each node, at most 1000 nodes per request; `values` gets one answer per node,
    /// the status of the server's refusal if it refuses the request for this node.
    /// @param attributeId  OPC 10000-6, A.1: 13 the value, 4 the display name
    [[nodiscard]] UA_StatusCode read(const std::vector<const UA_NodeId*>& nodes,
                                     UA_AttributeId attributeId, std::vector<DataValue>& values,
                                     UA_TimestampsToReturn times = UA_TIMESTAMPSTORETURN_SOURCE);

    /// Writes the value alone, without status and times.
    /// @return the status of the request, or else of the node
    [[nodiscard]] UA_StatusCode write(const UA_NodeId& node, const UA_Variant& value);

    /// Index of `kServerNamespace` as the client library counts; 0: the server does not have it.
    [[nodiscard]] UA_UInt16 controllerNamespace() const { return namespaceIndex_; }

    /// Raw values of one node between two times, both included: one answer of the server, which may
    /// be cut without indicating it. They are appended to `values`.
    /// @return the status of the request, or else of the node
    [[nodiscard]] UA_StatusCode readHistory(const UA_NodeId& node, UA_DateTime from, UA_DateTime to,
                                            std::vector<HistoryValue>& values);

    /// False if the connection was lost; true if a request was merely answered with an error.
    [[nodiscard]] bool isConnected() const;

    /// Waits and keeps the connection alive meanwhile. Returns early when it is lost or on a
    /// signal.
    [[nodiscard]] UA_StatusCode idle(std::chrono::milliseconds time);

    [[nodiscard]] const std::string& url() const { return url_; }

    /// `kItemsPerCall`, or fewer if the server accepts fewer.
    [[nodiscard]] std::size_t itemsPerCall() const { return itemsPerCall_; }

    /// For services that this class does not offer; null before the first connect, another one after
    /// each.
    [[nodiscard]] UA_Client* client() { return client_.get(); }

  private:
    [[nodiscard]] UA_StatusCode connectTo(const std::string& url);
    [[nodiscard]] Barrier findBarrier(UA_StatusCode status) const;
    [[nodiscard]] UA_StatusCode readLimits();
    [[nodiscard]] UA_StatusCode browseChunk(const UA_NodeId* const* nodes, std::size_t count,
                                            std::vector<Child>* children);
    [[nodiscard]] UA_StatusCode browseDivided(const UA_NodeId* const* nodes, std::size_t count,
                                              std::vector<Child>* children);
    [[nodiscard]] bool isBrowseLimitReached() const;
    /// Follows the continuation points to the end of one node's list.
    [[nodiscard]] UA_StatusCode takeAllChildren(UA_BrowseResult& first,
                                                std::vector<Child>& children);
    [[nodiscard]] UA_StatusCode readChunk(UA_ReadRequest& request, std::vector<DataValue>& values);
    [[nodiscard]] UA_StatusCode readDivided(UA_ReadRequest& request,
                                            std::vector<DataValue>& values);
    void releaseHistory(UA_HistoryReadRequest& request, UA_HistoryReadResult& result);

    std::string url_;
    std::chrono::milliseconds answerTime_;
    OwnedClient client_;
    UA_UInt16 namespaceIndex_ = 0;
    std::size_t nodesPerRead_ = 0;    // what the server accepts in one request, but never more than
    std::size_t nodesPerBrowse_ = 0;  // this client's own limits
    std::size_t itemsPerCall_ = 0;    // likewise
    Barrier barrier_ = Barrier::none;
    std::optional<BrowseLimits> browseLimits_;
    bool browseCut_ = false;  // of the last `browse`, as the two below
    std::size_t browsedChildren_ = 0;
    std::chrono::steady_clock::time_point browseEnd_;  // only with limits
};

}  // namespace tools
