#include "lib/bd_vesk/attributes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <span>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

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

/// Kind, bit, offset and storage of each attribute, by entry.
using Entries = std::vector<std::string>;
Entries described(const AtrFiles& files) {
    Entries texts;
    for (const ListAllVar& entry : files.entries) {
        std::string& text = texts.emplace_back();
        for (std::size_t i = 0; i < static_cast<std::size_t>(entry.Num); ++i) {
            const DscAtr atr = entry.Atr[i];
            for (const int number : {+atr.NumAtr, +atr.NumBit, +atr.Offset})
                text += std::to_string(number) + "/";
            text += std::to_string(entry.AtrType[i].TypeAtr) + " ";
        }
    }
    return texts;
}
const Entries kSample = {"1/0/103/3 2/7/108/0 3/0/4/6 ", "1/0/50/1 ", "", "", "", "", "",
                         "1/0/107/2 2/0/167/3 "};

TEST(AttributeFiles, AreReadEntryByEntryInAnyOrder) {
    std::string offsets = sample().offsets();
    std::string types = sample().types();
    AtrFiles files = readFiles(offsets, types);
    EXPECT_TRUE(files.sameEntries && files.faults.empty());
    EXPECT_EQ(described(files), kSample);

    // The entries of VA and DI change places in the file of offsets; the positions lead to them.
    offsets =
        offsets.substr(0, 2) + offsets.substr(6, 4) + offsets.substr(2, 4) + offsets.substr(10);
    types = types.substr(0, 2) + types.substr(13, 5) + types.substr(2, 11) + types.substr(18);
    files = readFiles(offsets, types);
    EXPECT_TRUE(files.sameEntries && files.faults.empty());
    Entries swapped = kSample;
    std::swap(swapped[0], swapped[1]);
    EXPECT_EQ(described(files), swapped);
}

TEST(AttributeFiles, KeepWhatStandsBeforeAFault) {
    const std::string offsets = sample().offsets();
    const std::string types = sample().types();
    const char* const end = "the file ends here";
    const auto inTypes = AtrFault::File::types;
    const struct {
        const char* why;
        std::string offsets, types;
        bool same = true;
        int entry = -1, attribute = -1;
        const char* text = "";  // empty: silent by contract
        AtrFault::File file = AtrFault::File::offsets;
    } cases[] = {
        {"entry counts differ", offsets, Files::number(9, 2) + types.substr(2), false},
        {"negative entry counts", "\xFF\xFF", "\xFF\xFF", true, -1, -1, "-1 entries"},
        {"attribute counts differ", offsets, std::string(types).replace(13, 1, "\x02"), true, 1, -1,
         "2 attributes, 1 in the file of offsets", inTypes},
        {"no count in the one", offsets.substr(0, 1), types, false, -1, -1, end},
        {"no position", offsets.substr(0, 4), types, true, 0, -1, end},
        {"a position behind the end",
         std::string(offsets).replace(6, 4, Files::number(0x7FFFFFFF, 4)), types, true, 1, -1, end},
        {"cut in a count of attributes", offsets, types.substr(0, 14), true, 1, -1, end, inTypes},
        {"in a description", offsets.substr(0, offsets.size() - 5), types, true, 7, 2, end},
        {"in the last kind", offsets, types.substr(0, types.size() - 1), true, 7, 2, end, inTypes},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        const AtrFiles read = readFiles(c.offsets, c.types);
        EXPECT_EQ(read.sameEntries, c.same);
        const AtrFault fault = read.faults.empty() ? AtrFault() : read.faults[0];
        EXPECT_EQ(std::tuple(fault.entry, fault.attribute, fault.text, fault.file),
                  std::tuple(c.entry, c.attribute, c.text, c.file));
        Entries want(read.entries.size());
        if (c.entry > 0) std::copy_n(kSample.begin(), c.entry, want.begin());
        EXPECT_EQ(described(read), want);
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
        {"bit 7", DB_VA, 1, 1, 7, 0, 0, 114, {0, 128, Storage::bit, type_char}},
        {"bit 8", DB_VA, 1, 1, 8, 0, 0, 114, nowhere, "bit 8"},
        {"a word at the end", DB_VA, 1, 1, 0, 112, 2, 114, {112, 0, Storage::word, type_short}},
        {"a word across the end", DB_VA, 1, 1, 0, 113, 2, 114, nowhere, "2 bytes at 113 are not inside a record of 114"},
        {"before the record", DB_VA, 1, 1, 0, -1, 1, 114, nowhere, "1 bytes at -1 are not inside a record of 114"},
        {"the long text of HI", DB_HI, 12, 1, 0, 28, 6, 48, {28, 0, Storage::text17, type_str17}},
        {"11 is a short one", DB_HI, 11, 1, 0, 28, 6, 48, {28, 0, Storage::text9, type_str9}},
        {"12 of another type too", DB_VA, 12, 1, 0, 28, 6, 114, {28, 0, Storage::text9, type_str9}},
        {"storage of others", DB_VA, 1, 1, 0, 0, 4, 114, nowhere},
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
