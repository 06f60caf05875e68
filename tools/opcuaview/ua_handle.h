#pragma once

#include <open62541/types.h>
#include <open62541/types_generated.h>

#include <string>
#include <string_view>
#include <utility>

namespace opcuaview {

/// Owns one value of an OPC UA type and clears it at the end of its scope.
/// @tparam kIndex  the type's place in UA_TYPES
template <class T, std::size_t kIndex>
class UaHandle {
  public:
    UaHandle() { UA_init(&value_, &UA_TYPES[kIndex]); }
    ~UaHandle() { clear(); }

    /// Takes over what `value` owns.
    explicit UaHandle(T value) : value_(value) {}
    UaHandle(UaHandle&& other) noexcept : UaHandle() { std::swap(value_, other.value_); }
    UaHandle& operator=(UaHandle&& other) noexcept {
        std::swap(value_, other.value_);
        return *this;
    }
    UaHandle(const UaHandle&) = delete;
    UaHandle& operator=(const UaHandle&) = delete;

    [[nodiscard]] static UaHandle copyOf(const T& source) {
        UaHandle copy;
        // Out of memory leaves the copy empty, which every user of a handle copes with.
        static_cast<void>(UA_copy(&source, &copy.value_, &UA_TYPES[kIndex]));
        return copy;
    }

    void clear() { UA_clear(&value_, &UA_TYPES[kIndex]); }
    T* get() { return &value_; }
    [[nodiscard]] const T* get() const { return &value_; }
    T* operator->() { return &value_; }
    const T* operator->() const { return &value_; }
    T& operator*() { return value_; }
    const T& operator*() const { return value_; }

  private:
    T value_;
};

using NodeId = UaHandle<UA_NodeId, UA_TYPES_NODEID>;
using ByteString = UaHandle<UA_ByteString, UA_TYPES_BYTESTRING>;
using DataValue = UaHandle<UA_DataValue, UA_TYPES_DATAVALUE>;
using BrowseResponse = UaHandle<UA_BrowseResponse, UA_TYPES_BROWSERESPONSE>;
using BrowseNextResponse = UaHandle<UA_BrowseNextResponse, UA_TYPES_BROWSENEXTRESPONSE>;
using HistoryReadResponse = UaHandle<UA_HistoryReadResponse, UA_TYPES_HISTORYREADRESPONSE>;
using ReadResponse = UaHandle<UA_ReadResponse, UA_TYPES_READRESPONSE>;

/// A view of the library's string; lives no longer than it.
[[nodiscard]] inline std::string_view viewOf(const UA_String& text) {
    return {reinterpret_cast<const char*>(text.data), text.length};
}

/// The view as the library's string, for calls that only look at it. Owns nothing: never clear it.
[[nodiscard]] inline UA_String borrowed(std::string_view text) {
    return {text.size(), reinterpret_cast<UA_Byte*>(const_cast<char*>(text.data()))};
}

}  // namespace opcuaview
