#pragma once

#include <string>
#include <vector>

#include "tools/client/session.h"

namespace tools {

/// What a server says about one variable.
struct Details {
    DataValue value;     ///< with quality and the times asked for
    UA_Byte access = 0;  ///< UserAccessLevel: UA_ACCESSLEVELMASK_READ, _WRITE, _HISTORYREAD ...
    const UA_DataType* type{};  ///< of the value, or if it has none, of the variable; null: unknown
    std::string typeName;       ///< "Float", "Float[]", the node id of an unknown type; empty: none
};

/// Reads the details of each variable; `details` gets one entry per node. A node that cannot be read
/// has the reason as the status of its value.
/// @return the status of the request that failed
[[nodiscard]] UA_StatusCode readDetails(Session& session,
                                        const std::vector<const UA_NodeId*>& nodes,
                                        std::vector<Details>& details);

/// "R", "W", "RW", with "H" behind it for a readable history; "—" for nothing.
[[nodiscard]] std::string accessText(UA_Byte access);

/// The symbol of an EngineeringUnits value, "°C"; empty for any other value.
[[nodiscard]] std::string unitText(const UA_Variant& value);

/// The quality of a value that a server sent without one is Good.
[[nodiscard]] inline UA_StatusCode statusOf(const UA_DataValue& value) {
    return value.hasStatus ? value.status : UA_STATUSCODE_GOOD;
}

[[nodiscard]] inline bool hasValue(const UA_DataValue& value) {
    return value.hasValue && !UA_Variant_isEmpty(&value.value);
}

/// Finds the node of a node id, or of a path of names below the Objects folder,
/// "Operative/1_VA/VA_1".
/// @return BADNODEIDUNKNOWN if the path leads nowhere; of a node id only the form is checked
[[nodiscard]] UA_StatusCode findNode(Session& session, const std::string& text, NodeId& node);

}  // namespace tools
