#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// The two attribute description files, laid number by number as other programs lay them.
struct AttributeFiles {
    enum Storage : int { kBit = 0, kByte = 1, kWord = 2, kFloat = 3, kText = 6, kUnknown = 5 };
    struct Attribute {
        int num, storage;
        int offset;  // in the passport
        int bit = 0;
    };
    /// `count` attributes, each of a kind of its own with the same number. Those that are not
    /// listed are of an unknown storage.
    struct Entry {
        int count = 0;
        std::vector<Attribute> attributes;
    };

    /// Where the entries of the described types stand.
    static constexpr std::size_t kVA = 0, kDI = 1, kHI = 2, kDO = 5, kAV = 7, kEntries = 8;

    std::vector<Entry> entries = std::vector<Entry>(kEntries);

    /// Contents of offatrs.dat and atributs.dat.
    std::string offsets() const {
        std::string positions = number(entries.size(), 2);
        std::string bodies;
        for (const Entry& entry : entries) {
            // Positions lead two bytes before the entry.
            positions += number(4 * entries.size() + bodies.size(), 4);
            bodies += number(entry.count, 2);
            for (int num = 1; num <= entry.count; ++num) {
                const Attribute attribute = find(entry, num);
                const std::string name(static_cast<std::size_t>(num % 5), 'x');
                bodies += number(num, 2) + number(attribute.bit, 2) + number(attribute.offset, 4) +
                          number(name.size(), 2) + name;
            }
        }
        return positions + bodies;
    }
    std::string types() const {
        std::string all = number(entries.size(), 2);
        for (const Entry& entry : entries) {
            all += number(entry.count, 2);
            for (int num = 1; num <= entry.count; ++num)
                all += number(num, 2) + number(find(entry, num).storage, 1);
        }
        return all;
    }

    /// Little-endian.
    template <class Integer>
    static std::string number(Integer value, int size) {
        std::string bytes;
        for (int i = 0; i < size; ++i)
            bytes += static_cast<char>(static_cast<std::uint64_t>(value) >> (8 * i));
        return bytes;
    }

  private:
    static Attribute find(const Entry& entry, int num) {
        for (const Attribute& attribute : entry.attributes)
            if (attribute.num == num) return attribute;
        return {num, kUnknown, 0};
    }
};
