#include "lib/bd_vesk/attributes.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <span>
#include <string>
#include <tuple>

#include "support/attribute_files.h"

namespace {

using Files = AttributeFiles;
using enum Files::Storage;

Files sample() {
    Files files;
    files.entries[Files::kVA] = {3, {{1, kFloat, 103}, {2, kBit, 108, 7}, {3, kText, 4}}};
    files.entries[Files::kDI] = {1, {{1, kByte, 50}}};
    files.entries[Files::kAV] = {2, {{1, kWord, 107}, {2, kFloat, 167}}};
    return files;
}

AtrFiles readFiles(const std::string& offsets, const std::string& types) {
    const auto bytes = [](const std::string& text) {
        return std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    };
    return readAtrFiles(bytes(offsets), bytes(types));
}

/// Kind, bit, offset and storage of each attribute.
std::string described(const ListAllVar& entry) {
    std::string text;
    for (std::size_t i = 0; i < static_cast<std::size_t>(entry.Num); ++i) {
        const DscAtr atr = entry.Atr[i];
        text += std::to_string(atr.NumAtr) + "/" + std::to_string(atr.NumBit) + "/" +
                std::to_string(atr.Offset) + "/" + std::to_string(entry.AtrType[i].TypeAtr) + " ";
    }
    return text;
}

TEST(AttributeFiles, AreReadEntryByEntryInAnyOrder) {
    AtrFiles files = readFiles(sample().offsets(), sample().types());
    EXPECT_TRUE(files.sameEntries && files.faults.empty());
    ASSERT_EQ(files.entries.size(), Files::kEntries);
    EXPECT_EQ(described(files.entries[0]), "1/0/103/3 2/7/108/0 3/0/4/6 ");
    EXPECT_EQ(described(files.entries[1]), "1/0/50/1 ");
    EXPECT_EQ(described(files.entries[7]), "1/0/107/2 2/0/167/3 ");
    for (const std::size_t empty : {2U, 3U, 4U, 5U, 6U})
        EXPECT_EQ(files.entries[empty].Num, 0);

    // The entries of VA and DI change places in the file of offsets; the positions lead to them.
    std::string offsets = sample().offsets();
    std::string types = sample().types();
    offsets =
        offsets.substr(0, 2) + offsets.substr(6, 4) + offsets.substr(2, 4) + offsets.substr(10);
    types = types.substr(0, 2) + types.substr(13, 5) + types.substr(2, 11) + types.substr(18);
    files = readFiles(offsets, types);
    ASSERT_TRUE(files.faults.empty()) << files.faults[0].text;
    EXPECT_EQ(described(files.entries[0]), "1/0/50/1 ");
    EXPECT_EQ(described(files.entries[1]), "1/0/103/3 2/7/108/0 3/0/4/6 ");
}

TEST(AttributeFiles, KeepWhatStandsBeforeTheirEnd) {
    const std::string offsets = sample().offsets();
    const std::string types = sample().types();
    const AtrFiles whole = readFiles(offsets, types);
    const auto check = [&](const AtrFiles& cut, AtrFault::File file) {
        ASSERT_EQ(cut.faults.size(), 1U);
        EXPECT_EQ(cut.faults[0].file, file);
        EXPECT_EQ(cut.faults[0].text, "the file ends here");
        EXPECT_EQ(cut.entries.size(), cut.sameEntries ? whole.entries.size() : 0);
        for (std::size_t i = 0; i < cut.entries.size(); ++i) {
            const bool before = static_cast<int>(i) < cut.faults[0].entry;
            EXPECT_EQ(described(cut.entries[i]), before ? described(whole.entries[i]) : "") << i;
        }
    };
    // The last bytes of the file of offsets are a name, which nobody reads.
    const std::size_t lastName = 2;
    for (std::size_t size = 0; size + lastName < offsets.size(); ++size) {
        SCOPED_TRACE("offatrs.dat ends at " + std::to_string(size));
        check(readFiles(offsets.substr(0, size), types), AtrFault::File::offsets);
    }
    for (std::size_t size = 0; size < types.size(); ++size) {
        SCOPED_TRACE("atributs.dat ends at " + std::to_string(size));
        check(readFiles(offsets, types.substr(0, size)), AtrFault::File::types);
    }
}

TEST(AttributeFiles, TellWhereTheyContradictEachOther) {
    const std::string offsets = sample().offsets();
    const std::string types = sample().types();
    const struct {
        const char* why;
        std::string offsets, types;
        bool same;
        int entry;
        std::string text;  // empty: silent by contract
    } cases[] = {
        {"no entries are no fault", Files::number(0, 2), Files::number(0, 2), true, -1, ""},
        {"entry counts differ", offsets, Files::number(9, 2) + types.substr(2), false, -1, ""},
        {"negative entry counts", "\xFF\xFF", "\xFF\xFF", true, -1, "-1 entries"},
        {"attribute counts differ", offsets, std::string(types).replace(13, 1, "\x02"), true, 1,
         "2 attributes, 1 in the file of offsets"},
        {"an entry at the end of 4 GB", std::string(offsets).replace(2, 4, 4, '\xFF'), types, true,
         0, "the file ends here"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        const AtrFiles read = readFiles(c.offsets, c.types);
        EXPECT_EQ(read.sameEntries, c.same);
        const AtrFault fault = read.faults.empty() ? AtrFault() : read.faults[0];
        EXPECT_EQ(fault.entry, c.entry);
        EXPECT_EQ(fault.text, c.text);
    }
}

TEST(AttributePlace, ChecksTheDescriptionAgainstTheRecord) {
    using Place = std::tuple<int, int, Storage, int>;
    const Place nowhere{0, 0, Storage::none, none};
    const struct {
        const char* why;
        DB_TYPE type;
        int num;   // attribute that is described
        int kind;  // of 12, the others are words
        int bit, offset;
        int storage;  // of kind 1
        std::size_t record;
        Place want;
        const char* fault = "";
    } cases[] = {
        // clang-format off
        {"bit 0", DB_VA, 1, 1, 0, 113, 0, 114, {113, 1, Storage::bit, type_char}},
        {"bit 7", DB_VA, 1, 1, 7, 0, 0, 114, {0, 128, Storage::bit, type_char}},
        {"bit 8", DB_VA, 1, 1, 8, 0, 0, 114, nowhere, "bit 8"},
        {"bit -1", DB_VA, 1, 1, -1, 0, 0, 114, nowhere, "bit -1"},
        {"a byte has none", DB_VA, 1, 1, 99, 5, 1, 114, {5, 0, Storage::byte, type_char}},
        {"a word at the end", DB_VA, 1, 1, 0, 112, 2, 114, {112, 0, Storage::word, type_short}},
        {"a word across the end", DB_VA, 1, 1, 0, 113, 2, 114, nowhere, "2 bytes at 113 are not inside a record of 114"},
        {"a float across the end", DB_AV, 1, 1, 0, 201, 3, 204, nowhere, "4 bytes at 201 are not inside a record of 204"},
        {"a text across the end", DB_DI, 1, 1, 0, 48, 6, 56, nowhere, "9 bytes at 48 are not inside a record of 56"},
        {"before the record", DB_VA, 1, 1, 0, -1, 1, 114, nowhere, "1 bytes at -1 are not inside a record of 114"},
        {"far behind it", DB_VA, 1, 1, 0, 0x7FFFFFFF, 3, 114, nowhere, "4 bytes at 2147483647 are not inside a record of 114"},
        {"larger than the record", DB_VA, 1, 1, 0, 0, 3, 1, nowhere, "4 bytes at 0 are not inside a record of 1"},
        {"the long text of HI", DB_HI, 12, 1, 0, 28, 6, 48, {28, 0, Storage::text17, type_str17}},
        {"it needs 17 bytes", DB_HI, 12, 1, 0, 32, 6, 48, nowhere, "17 bytes at 32 are not inside a record of 48"},
        {"11 is a short one", DB_HI, 11, 1, 0, 28, 6, 48, {28, 0, Storage::text9, type_str9}},
        {"12 of another type too", DB_VA, 12, 1, 0, 28, 6, 114, {28, 0, Storage::text9, type_str9}},
        {"12 of HI as a number", DB_HI, 12, 1, 0, 28, 3, 48, {28, 0, Storage::real, type_float}},
        {"storage of others", DB_VA, 1, 1, 0, 0, 4, 114, nowhere},
        {"not the inner number of long texts", DB_VA, 1, 1, 0, 0, 7, 114, nowhere},
        {"storage above 127", DB_VA, 1, 1, 0, 0, 255, 114, nowhere},
        {"kind 0", DB_VA, 1, 0, 0, 0, 1, 114, nowhere, "kind 0"},
        {"the last kind", DB_VA, 1, 12, 0, 0, 1, 114, {0, 0, Storage::word, type_short}},
        {"kind behind the last", DB_VA, 1, 13, 0, 0, 1, 114, nowhere, "kind 13"},
        {"negative kind", DB_VA, 1, -5, 0, 0, 1, 114, nowhere, "kind -5"},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        ListAllVar entry{12, std::vector<DscAtr>(12), std::vector<DscAtrType>(12, {0, 2})};
        entry.Atr[static_cast<std::size_t>(c.num - 1)] = {
            static_cast<std::int16_t>(c.kind), static_cast<std::int16_t>(c.bit), c.offset};
        entry.AtrType[0].TypeAtr = static_cast<char>(c.storage);
        AtrFault fault;
        const AtrPlace place = placeOf(c.type, entry, c.num, c.record, &fault);
        EXPECT_EQ(Place(place.offset, place.mask, place.storage, place.valueType), c.want);
        EXPECT_EQ(fault.text, c.fault);
        EXPECT_EQ(fault.attribute, fault.text.empty() ? -1 : c.num);
    }
}

}  // namespace
