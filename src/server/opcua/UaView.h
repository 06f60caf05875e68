#pragma once

#include <open62541/types.h>

#include <string_view>

// Library values that point to our texts, for calls that copy their arguments. Nothing is allocated
// and nothing must be cleared; the text must outlive the call.

inline UA_String uaView(std::string_view text) {
    return {text.size(), reinterpret_cast<UA_Byte*>(const_cast<char*>(text.data()))};
}

inline UA_NodeId uaNodeIdView(UA_UInt16 ns, std::string_view text) {
    UA_NodeId id{};
    id.namespaceIndex = ns;
    id.identifierType = UA_NODEIDTYPE_STRING;
    id.identifier.string = uaView(text);
    return id;
}

inline UA_QualifiedName uaNameView(UA_UInt16 ns, std::string_view text) {
    return {ns, uaView(text)};
}

inline UA_LocalizedText uaTextView(std::string_view locale, std::string_view text) {
    return {uaView(locale), uaView(text)};
}

inline std::string_view textOf(const UA_String& text) {
    return {reinterpret_cast<const char*>(text.data), text.length};
}
