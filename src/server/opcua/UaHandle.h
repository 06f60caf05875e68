#pragma once

#include <open62541/types.h>
#include <open62541/types_generated.h>

#include <cstddef>
#include <utility>

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
        // Without memory the copy is empty, which every user of a handle can handle.
        static_cast<void>(UA_copy(&source, &copy.value_, &UA_TYPES[kIndex]));
        return copy;
    }

    [[nodiscard]] static const UA_DataType* type() { return &UA_TYPES[kIndex]; }

    /// Hands over what it owns.
    [[nodiscard]] T release() { return std::exchange(value_, T{}); }

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

using OwnedNodeId = UaHandle<UA_NodeId, UA_TYPES_NODEID>;
using OwnedString = UaHandle<UA_String, UA_TYPES_STRING>;
using OwnedByteString = UaHandle<UA_ByteString, UA_TYPES_BYTESTRING>;
using OwnedVariant = UaHandle<UA_Variant, UA_TYPES_VARIANT>;
using OwnedDataValue = UaHandle<UA_DataValue, UA_TYPES_DATAVALUE>;
using OwnedLocalizedText = UaHandle<UA_LocalizedText, UA_TYPES_LOCALIZEDTEXT>;
