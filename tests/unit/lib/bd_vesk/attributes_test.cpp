#include "lib/bd_vesk/attributes.h"

#include "sim/layout/attribute_files.h"
#include "sim/layout/field_table.h"
#include "tests/support/basics.h"

static AtrFiles readFiles(const std::string& offsets, const std::string& types) {
    const auto bytes = [](const std::string& text) {
        return std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    };
    return readAtrFiles(bytes(offsets), bytes(types));
}

TEST(AttributeFiles, LeadToEachFieldOfEachType) {
    const AtrFiles files = readFiles(sim::offsetFile(), sim::kindFile());
    EXPECT_TRUE(files.sameEntries && files.faults.empty());
    for (const auto& [type, place] : {std::pair(1, 0U), {2, 7U}, {3, 2U}, {4, 1U}, {5, 5U}}) {
        const auto code = static_cast<sim::TypeCode>(type);
        const std::size_t record = sim::layoutOf(code).passport.elementSize;
        for (const sim::Attribute& wanted : sim::attributesOf(code)) {
            SCOPED_TRACE(wanted.name);
            const AtrPlace got = placeOf(static_cast<DB_TYPE>(type), files.entries.at(place),
                                         wanted.number, record, nullptr);
            const bool isLong = wanted.name == "string.TZN";
            const bool isBit = wanted.storage == sim::Storage::bit;
            EXPECT_EQ(got.offset, wanted.offset);
            EXPECT_EQ(got.mask, isBit ? 1U << wanted.bit : 0U);
            EXPECT_EQ(got.size, isLong ? 17 : sim::elementSize(wanted.storage));
        }
    }
}

TEST(AttributeFiles, KeepWhatStandsBeforeAFault) {
    const std::string offsets = sim::offsetFile();
    const std::string types = sim::kindFile();
    const AtrFiles whole = readFiles(offsets, types);
    const auto with = [](std::string bytes, std::size_t at, const char* other) {
        return bytes.replace(at, std::string(other).size(), other);
    };
    constexpr std::size_t kSecond = 2 + 2 + 3 * 62;  // entry in the file of types
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
        {"entry counts differ", offsets, with(types, 0, "\x09"), false},
        {"negative entry counts", "\xFF\xFF", "\xFF\xFF", true, -1, -1, "-1 entries"},
        {"attribute counts differ", offsets, with(types, kSecond, "\x02"), true, 1, -1,
         "2 attributes, 41 in the file of offsets", inTypes},
        {"entries are found by their positions",
         offsets.substr(0, 2) + offsets.substr(6, 4) + offsets.substr(6), types, true, 0, -1,
         "62 attributes, 41 in the file of offsets", inTypes},
        {"a position behind the end", with(offsets, 6, "\xFF\xFF\xFF\x7F"), types, true, 1, -1,
         end},
        {"cut in a count of attributes", offsets, types.substr(0, kSecond + 1), true, 1, -1, end,
         inTypes},
        {"in the last kind", offsets, types.substr(0, types.size() - 1), true, 7, 119, end,
         inTypes},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        const AtrFiles read = readFiles(c.offsets, c.types);
        EXPECT_EQ(read.sameEntries, c.same);
        const AtrFault fault = read.faults.empty() ? AtrFault() : read.faults[0];
        EXPECT_EQ(std::tuple(fault.entry, fault.attribute, fault.text, fault.file),
                  std::tuple(c.entry, c.attribute, c.text, c.file));
        ASSERT_EQ(read.entries.size(), c.entry < 0 ? 0U : 8U);
        for (int i = 0; i < static_cast<int>(read.entries.size()); ++i) {
            const auto entry = static_cast<std::size_t>(i);
            EXPECT_EQ(read.entries[entry].Num, i < c.entry ? whole.entries[entry].Num : 0);
        }
    }
}

TEST(AttributeFiles, CutAnywhereKeepTheEntriesBeforeTheCut) {
    const std::string offsets = sim::offsetFile(), types = sim::kindFile();
    const AtrFiles whole = readFiles(offsets, types);
    const auto expectBeginning = [&](const AtrFiles& cut) {
        bool isCut = cut.entries.size() < whole.entries.size();
        for (std::size_t i = 0; i < cut.entries.size(); ++i) {
            isCut = isCut || cut.entries[i].Num != whole.entries[i].Num;
            EXPECT_EQ(cut.entries[i].Num, isCut ? 0 : whole.entries[i].Num);
        }
        EXPECT_EQ(isCut, !cut.sameEntries || !cut.faults.empty());
    };
    for (std::size_t size = 0; size < std::max(offsets.size(), types.size()); ++size) {
        SCOPED_TRACE(size);
        if (size < offsets.size()) expectBeginning(readFiles(offsets.substr(0, size), types));
        if (size < types.size()) expectBeginning(readFiles(offsets, types.substr(0, size)));
    }
}

TEST(AttributePlace, ChecksTheDescriptionAgainstTheRecord) {
    using Place = std::tuple<int, int, int, int>;
    const Place nowhere{0, 0, 0, none};
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
        {"bit 7", DB_VA, 1, 1, 7, 0, 0, 114, {0, 128, 1, type_char}},
        {"bit 8", DB_VA, 1, 1, 8, 0, 0, 114, nowhere, "bit 8"},
        {"a word at the end", DB_VA, 1, 1, 0, 112, 2, 114, {112, 0, 2, type_short}},
        {"a word across the end", DB_VA, 1, 1, 0, 113, 2, 114, nowhere, "2 bytes at 113 are not inside a record of 114"},
        {"before the record", DB_VA, 1, 1, 0, -1, 1, 114, nowhere, "1 bytes at -1 are not inside a record of 114"},
        {"the long text of HI", DB_HI, 12, 1, 0, 28, 6, 48, {28, 0, 17, type_str17}},
        {"11 is a short one", DB_HI, 11, 1, 0, 28, 6, 48, {28, 0, 9, type_str9}},
        {"12 of another type too", DB_VA, 12, 1, 0, 28, 6, 114, {28, 0, 9, type_str9}},
        {"storage of others", DB_VA, 1, 1, 0, 0, 4, 114, nowhere},
        {"kind 0", DB_VA, 1, 0, 0, 0, 1, 114, nowhere, "kind 0"},
        {"the last kind", DB_VA, 1, 12, 0, 0, 1, 114, {0, 0, 2, type_short}},
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
        EXPECT_EQ(Place(place.offset, place.mask, place.size, place.valueType), c.want);
        EXPECT_EQ(fault.text, c.fault);
        EXPECT_EQ(fault.attribute, fault.text.empty() ? -1 : c.num);
    }
}
