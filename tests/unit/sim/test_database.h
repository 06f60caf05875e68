#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "memory/database_memory.h"

/// The controller's tables in ordinary memory. Read and written by byte offset, as a reader of the
/// shared memory would; variables are counted from 1.
class TestDatabase {
  public:
    explicit TestDatabase(sim::Counts counts) {
        std::size_t records = 0;
        for (std::size_t t = 0; t < sim::kTypeCount; ++t) {
            const sim::TypeLayout& layout = sim::kTypes[t];
            sim::TypeMemory& arrays = memory.types[t];
            arrays.count = counts[t];
            arrays.passport = make(counts[t] * layout.passport.elementSize);
            arrays.data = make(counts[t] * layout.data.elementSize);
            arrays.value = make(counts[t] * layout.value.elementSize);
            if (t < sim::kMainTypeCount) records += counts[t];
        }
        memory.timeQuality = make(records * 24);
    }

    template <class T>
    T field(sim::TypeCode type, int num, std::size_t offset) const {
        return read<T>(memory.passport(type, index(num)) + offset);
    }
    template <class T>
    void setField(sim::TypeCode type, int num, std::size_t offset, T value) {
        std::memcpy(memory.passport(type, index(num)) + offset, &value, sizeof value);
    }
    std::string text(sim::TypeCode type, int num, std::size_t offset) const {
        return reinterpret_cast<const char*>(memory.passport(type, index(num)) + offset);
    }
    template <class T>
    T data(sim::TypeCode type, int num) const {
        return read<T>(memory.data(type, index(num)));
    }
    template <class T>
    void setData(sim::TypeCode type, int num, T value) {
        std::memcpy(memory.data(type, index(num)), &value, sizeof value);
    }
    template <class T>
    T value(sim::TypeCode type, int num) const {
        return read<T>(memory.value(type, index(num)));
    }
    template <class T>
    void setValue(sim::TypeCode type, int num, T value) {
        std::memcpy(memory.value(type, index(num)), &value, sizeof value);
    }
    unsigned quality(sim::TypeCode type, int num) const {
        return read<std::uint32_t>(memory.timeQualityOf(type, index(num)) + 16);
    }
    std::int64_t seconds(sim::TypeCode type, int num) const {
        return read<std::int64_t>(memory.timeQualityOf(type, index(num)));
    }

    /// Everything in it, for comparing two.
    const std::vector<std::vector<std::byte>>& bytes() const { return arrays_; }

    sim::DatabaseMemory memory;

  private:
    static std::size_t index(int num) { return static_cast<std::size_t>(num - 1); }
    template <class T>
    static T read(const std::byte* from) {
        T value;
        std::memcpy(&value, from, sizeof value);
        return value;
    }
    std::byte* make(std::size_t size) {
        arrays_.emplace_back(size);
        return arrays_.back().data();
    }

    std::vector<std::vector<std::byte>> arrays_;
};
