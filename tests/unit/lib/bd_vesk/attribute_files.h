#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

/// Bytes of the two attribute description files, laid one by one as other programs lay them.
class AttributeFiles {
  public:
    struct Attribute {
        int kind;    // from 1, into `storages`
        int offset;  // in the passport
        int bit = 0;
        std::string name = "name";
    };
    struct Entry {
        std::vector<Attribute> attributes;
        std::vector<int> storages;  // by kind - 1; as many as attributes
    };
    struct Bytes {
        std::vector<std::uint8_t> offsets;
        std::vector<std::uint8_t> types;
    };

    /// Where the entries of the described types stand.
    static constexpr std::size_t kVA = 0, kDI = 1, kHI = 2, kDO = 5, kAV = 7, kEntries = 8;

    std::vector<Entry> entries = std::vector<Entry>(kEntries);

    /// An entry whose attribute n is described by `attributes[n - 1]`, each of a kind of its own.
    struct Field {
        int offset;
        int storage;
        int bit = 0;
    };
    void describe(std::size_t entry, const std::vector<Field>& fields) {
        entries[entry] = {};
        int kind = 0;
        for (const Field& field : fields) {
            entries[entry].attributes.push_back({++kind, field.offset, field.bit});
            entries[entry].storages.push_back(field.storage);
        }
    }

    Bytes bytes() const {
        Bytes out;
        put(out.offsets, entries.size(), 2);
        put(out.types, entries.size(), 2);
        std::vector<std::uint8_t> bodies;
        for (const Entry& entry : entries) {
            put(out.offsets, 2 + 4 * entries.size() + bodies.size(), 4);
            putEntry(bodies, out.types, entry);
        }
        out.offsets.insert(out.offsets.end(), bodies.begin(), bodies.end());
        return out;
    }

    static void write(const std::filesystem::path& file, const std::vector<std::uint8_t>& bytes) {
        std::ofstream(file, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()),
                   static_cast<std::streamsize>(bytes.size()));
    }
    static void write(const std::filesystem::path& folder, const Bytes& bytes) {
        write(folder / "offatrs.dat", bytes.offsets);
        write(folder / "atributs.dat", bytes.types);
    }

    static void put(std::vector<std::uint8_t>& to, std::size_t value, int size) {
        for (int i = 0; i < size; ++i)
            to.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    }
    static void putInt(std::vector<std::uint8_t>& to, int value, int size) {
        put(to, static_cast<std::size_t>(static_cast<std::ptrdiff_t>(value)), size);
    }

  private:
    static void putEntry(std::vector<std::uint8_t>& body, std::vector<std::uint8_t>& types,
                         const Entry& entry) {
        put(body, 0xEEEE, 2);  // the position leads two bytes before the count
        put(body, entry.attributes.size(), 2);
        put(types, entry.storages.size(), 2);
        for (const Attribute& attribute : entry.attributes) {
            putInt(body, attribute.kind, 2);
            putInt(body, attribute.bit, 2);
            putInt(body, attribute.offset, 4);
            put(body, attribute.name.size(), 2);
            body.insert(body.end(), attribute.name.begin(), attribute.name.end());
        }
        for (const int storage : entry.storages) {
            put(types, 0x5A5A, 2);
            putInt(types, storage, 1);
        }
    }
};
