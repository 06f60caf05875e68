#include "lib/bd_vesk/attributes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "attribute_files.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

AttributeFiles sample() {
    AttributeFiles files;
    files.describe(AttributeFiles::kVA, {{103, 3}, {108, 0, 7}, {4, 6}});
    files.describe(AttributeFiles::kDI, {{50, 1}});
    files.describe(AttributeFiles::kAV, {{107, 2}, {167, 3}});
    files.entries[AttributeFiles::kVA].attributes[1].name = "a rather long name";
    files.entries[AttributeFiles::kVA].attributes[2].name.clear();
    return files;
}

std::string described(const ListAllVar& entry) {
    std::string text;
    for (std::size_t i = 0; i < static_cast<std::size_t>(entry.Num); ++i) {
        const DscAtr atr = entry.Atr[i];
        text += std::to_string(atr.NumAtr) + "/" + std::to_string(atr.NumBit) + "/" +
                std::to_string(atr.Offset) + "/" + std::to_string(entry.AtrType[i].TypeAtr) + " ";
    }
    return text;
}

TEST(AttributeFiles, AreReadEntryByEntry) {
    const auto bytes = sample().bytes();
    const AtrFiles files = readAtrFiles(bytes.offsets, bytes.types);
    EXPECT_TRUE(files.sameEntries);
    EXPECT_TRUE(files.faults.empty());
    ASSERT_EQ(files.entries.size(), AttributeFiles::kEntries);
    EXPECT_EQ(described(files.entries[0]), "1/0/103/3 2/7/108/0 3/0/4/6 ");
    EXPECT_EQ(described(files.entries[1]), "1/0/50/1 ");
    EXPECT_EQ(described(files.entries[7]), "1/0/107/2 2/0/167/3 ");
    for (const std::size_t empty : {2U, 3U, 4U, 5U, 6U})
        EXPECT_EQ(files.entries[empty].Num, 0);
}

TEST(AttributeFiles, MayHoldTheirEntriesInAnyOrder) {
    // Entry 0 stands behind entry 1 in the file of offsets, and both lead to it by position.
    Bytes offsets;
    AttributeFiles::put(offsets, 2, 2);
    AttributeFiles::put(offsets, 24, 4);
    AttributeFiles::put(offsets, 10, 4);
    for (const int offset : {50, 60}) {
        AttributeFiles::put(offsets, 0xEEEE, 2);
        AttributeFiles::put(offsets, 1, 2);
        for (const int word : {1, 0, offset, 0, 0})
            AttributeFiles::putInt(offsets, word, 2);
    }
    const Bytes types{2, 0, 1, 0, 0, 0, 3, 1, 0, 0, 0, 1};
    const AtrFiles files = readAtrFiles(offsets, types);
    ASSERT_TRUE(files.faults.empty()) << files.faults[0].text;
    EXPECT_EQ(described(files.entries[0]), "1/0/60/3 ");
    EXPECT_EQ(described(files.entries[1]), "1/0/50/1 ");
}

/// The entries before the fault are whole, the one with it and those behind it are empty.
void expectCutBeforeFault(const AtrFiles& cut, const AtrFiles& whole) {
    if (!cut.sameEntries) {
        EXPECT_TRUE(cut.entries.empty());
        return;
    }
    ASSERT_EQ(cut.faults.size(), 1U);
    ASSERT_EQ(cut.entries.size(), whole.entries.size());
    for (std::size_t i = 0; i < cut.entries.size(); ++i) {
        const bool before = static_cast<int>(i) < cut.faults[0].entry;
        EXPECT_EQ(described(cut.entries[i]), before ? described(whole.entries[i]) : "") << i;
    }
}

TEST(AttributeFiles, KeepWhatStandsBeforeTheirEnd) {
    const auto bytes = sample().bytes();
    const AtrFiles whole = readAtrFiles(bytes.offsets, bytes.types);
    // The last bytes of the file of offsets are a name, which nobody reads.
    const std::size_t lastName = 4;
    for (std::size_t size = 0; size + lastName < bytes.offsets.size(); ++size) {
        SCOPED_TRACE("offatrs.dat ends at " + std::to_string(size));
        const Bytes cut(bytes.offsets.begin(), bytes.offsets.begin() + static_cast<int>(size));
        const AtrFiles files = readAtrFiles(cut, bytes.types);
        ASSERT_EQ(files.faults.size(), 1U);
        EXPECT_EQ(files.faults[0].file, AtrFault::File::offsets);
        EXPECT_EQ(files.faults[0].text, "the file ends here");
        expectCutBeforeFault(files, whole);
    }
    for (std::size_t size = 0; size < bytes.types.size(); ++size) {
        SCOPED_TRACE("atributs.dat ends at " + std::to_string(size));
        const Bytes cut(bytes.types.begin(), bytes.types.begin() + static_cast<int>(size));
        const AtrFiles files = readAtrFiles(bytes.offsets, cut);
        ASSERT_EQ(files.faults.size(), 1U);
        EXPECT_EQ(files.faults[0].file, AtrFault::File::types);
        expectCutBeforeFault(files, whole);
    }
}

TEST(AttributeFiles, TellWhereTheyContradictEachOther) {
    using File = AtrFault::File;
    const struct {
        const char* why;
        void (*spoil)(AttributeFiles&);
        bool same;
        std::vector<std::tuple<File, int, int, std::string>> faults;
    } cases[] = {
        {"attribute counts differ",
         [](AttributeFiles& f) { f.entries[1].storages.push_back(3); },
         true,
         {{File::types, 1, -1, "2 attributes, 1 in the file of offsets"}}},
        {"no entries are no fault", [](AttributeFiles& f) { f.entries.clear(); }, true, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        AttributeFiles files = sample();
        c.spoil(files);
        const auto bytes = files.bytes();
        const AtrFiles read = readAtrFiles(bytes.offsets, bytes.types);
        EXPECT_EQ(read.sameEntries, c.same);
        std::vector<std::tuple<File, int, int, std::string>> faults;
        for (const AtrFault& f : read.faults)
            faults.emplace_back(f.file, f.entry, f.attribute, f.text);
        EXPECT_EQ(faults, c.faults);
    }

    auto bytes = sample().bytes();
    bytes.types[0] = 9;
    EXPECT_FALSE(readAtrFiles(bytes.offsets, bytes.types).sameEntries);
    EXPECT_TRUE(readAtrFiles(bytes.offsets, bytes.types).faults.empty()) << "silent by contract";

    const Bytes negative{0xFF, 0xFF};
    const AtrFiles read = readAtrFiles(negative, negative);
    ASSERT_EQ(read.faults.size(), 1U);
    EXPECT_EQ(read.faults[0].text, "-1 entries");

    bytes = sample().bytes();
    for (const std::size_t i : {2U, 3U, 4U, 5U})
        bytes.offsets[i] = 0xFF;  // entry 0 at the end of 4 GB
    EXPECT_EQ(readAtrFiles(bytes.offsets, bytes.types).faults[0].entry, 0);
}

TEST(AttributePlace, ChecksTheDescriptionAgainstTheRecord) {
    using Place = std::tuple<int, int, Storage, int>;
    const Place nowhere{0, 0, Storage::none, none};
    const struct {
        const char* why;
        DB_TYPE type;
        int num;  // attribute that is described
        AttributeFiles::Attribute atr;
        int storage;  // of kind 1
        std::size_t record;
        Place want;
        const char* fault;
    } cases[] = {
        // clang-format off
        {"bit 0", DB_VA, 1, {1, 113, 0}, 0, 114, {113, 1, Storage::bit, type_char}, ""},
        {"bit 7", DB_VA, 1, {1, 0, 7}, 0, 114, {0, 128, Storage::bit, type_char}, ""},
        {"bit 8", DB_VA, 1, {1, 0, 8}, 0, 114, nowhere, "bit 8"},
        {"bit -1", DB_VA, 1, {1, 0, -1}, 0, 114, nowhere, "bit -1"},
        {"the bit of a byte does not count", DB_VA, 1, {1, 5, 99}, 1, 114, {5, 0, Storage::byte, type_char}, ""},
        {"a word at the end", DB_VA, 1, {1, 112}, 2, 114, {112, 0, Storage::word, type_short}, ""},
        {"a word across the end", DB_VA, 1, {1, 113}, 2, 114, nowhere, "2 bytes at 113 are not inside a record of 114"},
        {"a float at the end", DB_AV, 1, {1, 200}, 3, 204, {200, 0, Storage::real, type_float}, ""},
        {"a float across the end", DB_AV, 1, {1, 201}, 3, 204, nowhere, "4 bytes at 201 are not inside a record of 204"},
        {"a text at the end", DB_DI, 1, {1, 47}, 6, 56, {47, 0, Storage::text9, type_str9}, ""},
        {"a text across the end", DB_DI, 1, {1, 48}, 6, 56, nowhere, "9 bytes at 48 are not inside a record of 56"},
        {"before the record", DB_VA, 1, {1, -1}, 1, 114, nowhere, "1 bytes at -1 are not inside a record of 114"},
        {"far behind it", DB_VA, 1, {1, 0x7FFFFFFF}, 3, 114, nowhere, "4 bytes at 2147483647 are not inside a record of 114"},
        {"larger than the record", DB_VA, 1, {1, 0}, 3, 1, nowhere, "4 bytes at 0 are not inside a record of 1"},
        {"the long text of HI", DB_HI, 12, {1, 28}, 6, 48, {28, 0, Storage::text17, type_str17}, ""},
        {"it needs 17 bytes", DB_HI, 12, {1, 32}, 6, 48, nowhere, "17 bytes at 32 are not inside a record of 48"},
        {"11 is a short one", DB_HI, 11, {1, 28}, 6, 48, {28, 0, Storage::text9, type_str9}, ""},
        {"12 of another type too", DB_VA, 12, {1, 28}, 6, 114, {28, 0, Storage::text9, type_str9}, ""},
        {"12 of HI as a number", DB_HI, 12, {1, 28}, 3, 48, {28, 0, Storage::real, type_float}, ""},
        {"storage of others", DB_VA, 1, {1, 0}, 4, 114, nowhere, ""},
        {"another one", DB_VA, 1, {1, 0}, 7, 114, nowhere, ""},
        {"storage above 127", DB_VA, 1, {1, 0}, 255, 114, nowhere, ""},
        {"kind 0", DB_VA, 1, {0, 0}, 1, 114, nowhere, "kind 0"},
        {"kind behind the last", DB_VA, 1, {13, 0}, 1, 114, nowhere, "kind 13"},
        {"the last kind", DB_VA, 1, {12, 0}, 1, 114, {0, 0, Storage::word, type_short}, ""},
        {"negative kind", DB_VA, 1, {-5, 0}, 1, 114, nowhere, "kind -5"},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        ListAllVar entry;
        entry.Num = 12;
        entry.Atr.resize(12);
        entry.AtrType.assign(12, {0, 2});
        entry.Atr[static_cast<std::size_t>(c.num - 1)] = {static_cast<std::int16_t>(c.atr.kind),
                                                          static_cast<std::int16_t>(c.atr.bit),
                                                          c.atr.offset};
        entry.AtrType[0].TypeAtr = static_cast<char>(c.storage);
        AtrFault fault;
        const AtrPlace place = placeOf(c.type, entry, c.num, c.record, &fault);
        EXPECT_EQ(Place(place.offset, place.mask, place.storage, place.valueType), c.want);
        EXPECT_EQ(fault.text, c.fault);
        EXPECT_EQ(fault.attribute, fault.text.empty() ? -1 : c.num);
    }
}

}  // namespace
