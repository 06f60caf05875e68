#include "layout/attribute_files.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

namespace {

struct Described {
    int storage = -1;
    int bit = 0;
    int offset = 0;
    std::string name;
};

// A reader of its own, written from the format: entry number -> attributes by number from 1.
class Reader {
  public:
    Reader() : offsets_(sim::offsetFile()), kinds_(sim::kindFile()) {
        const int entries = number<std::int16_t>(offsets_, 0);
        EXPECT_EQ(number<std::int16_t>(kinds_, 0), entries);
        std::size_t sequential = 2;
        for (int i = 0; i < entries; ++i) {
            const auto start = number<std::uint32_t>(offsets_, 2 + 4 * std::size_t(i)) + 2;
            all_.push_back(entry(start, sequential));
        }
        EXPECT_EQ(sequential, kinds_.size()) << "the second file has bytes that nobody reads";
        EXPECT_EQ(end_, offsets_.size()) << "the first file has bytes that nobody reads";
    }

    const std::vector<std::vector<Described>>& all() const { return all_; }
    const Described& at(std::size_t entry, std::size_t number) const {
        return all_.at(entry).at(number - 1);
    }

  private:
    template <class T>
    static T number(const std::string& file, std::size_t place) {
        T value{};
        EXPECT_LE(place + sizeof value, file.size());
        std::memcpy(&value, file.data() + place, sizeof value);
        return value;
    }

    std::vector<Described> entry(std::size_t place, std::size_t& sequential) {
        const int count = number<std::int16_t>(offsets_, place);
        EXPECT_EQ(number<std::int16_t>(kinds_, sequential), count);
        place += 2;
        sequential += 2;
        const std::string storages = kinds_.substr(sequential, 3 * std::size_t(count));
        sequential += storages.size();
        std::vector<Described> attributes;
        for (int i = 0; i < count; ++i) {
            Described attribute;
            const int kind = number<std::int16_t>(offsets_, place);
            EXPECT_GE(kind, 1);
            EXPECT_LE(kind, count) << "a kind beyond the entry's list";
            attribute.storage = storages.at(3 * std::size_t(kind - 1) + 2);
            attribute.bit = number<std::int16_t>(offsets_, place + 2);
            attribute.offset = number<std::int32_t>(offsets_, place + 4);
            const std::size_t length = number<std::uint16_t>(offsets_, place + 8);
            attribute.name = offsets_.substr(place + 10, length);
            place += 10 + length;
            attributes.push_back(attribute);
        }
        end_ = place;
        return attributes;
    }

    std::string offsets_;
    std::string kinds_;
    std::vector<std::vector<Described>> all_;
    std::size_t end_ = 0;
};

constexpr std::size_t kVA = 0, kDI = 1, kHI = 2, kDO = 5, kAV = 7;

// Written out by hand from the memory map of the controller.
TEST(AttributeFiles, DescribeTheNumbersThatConfigurationsUse) {
    const struct {
        std::size_t entry, number;
        int storage, offset, bit;
    } cases[] = {
        {kVA, 1, 1, 0, 0},    {kVA, 5, 6, 4, 0},     {kVA, 11, 3, 34, 0},  {kVA, 23, 1, 82, 0},
        {kVA, 24, 3, 83, 0},  {kVA, 29, 3, 103, 0},  {kVA, 30, 1, 107, 0}, {kVA, 35, 1, 112, 0},
        {kVA, 38, 0, 108, 0}, {kVA, 45, 0, 108, 7},  {kVA, 62, 0, 111, 0}, {kAV, 5, 6, 4, 0},
        {kAV, 8, 1, 31, 0},   {kAV, 9, 2, 32, 0},    {kAV, 19, 2, 47, 0},  {kAV, 21, 3, 50, 0},
        {kAV, 36, 2, 107, 0}, {kAV, 37, 3, 111, 0},  {kAV, 39, 3, 119, 0}, {kAV, 46, 3, 147, 0},
        {kAV, 49, 3, 159, 0}, {kAV, 51, 3, 167, 0},  {kAV, 56, 1, 178, 0}, {kAV, 71, 1, 202, 0},
        {kAV, 72, 0, 195, 0}, {kAV, 107, 0, 199, 3}, {kHI, 1, 6, 0, 0},    {kHI, 4, 1, 27, 0},
        {kHI, 6, 3, 29, 0},   {kHI, 8, 3, 37, 0},    {kHI, 10, 1, 46, 0},  {kHI, 11, 1, 47, 0},
        {kHI, 12, 6, 28, 0},  {kHI, 13, 1, 45, 0},   {kHI, 14, 1, 28, 0},  {kHI, 18, 1, 32, 0},
        {kDI, 5, 6, 4, 0},    {kDI, 26, 1, 49, 0},   {kDI, 27, 0, 48, 0},  {kDI, 28, 1, 50, 0},
        {kDI, 31, 2, 53, 0},  {kDI, 32, 0, 48, 1},   {kDI, 41, 0, 49, 2},  {kDO, 6, 6, 5, 0},
        {kDO, 20, 1, 43, 0},  {kDO, 32, 2, 56, 0},   {kDO, 33, 0, 48, 0},  {kDO, 48, 0, 49, 7},
    };
    const Reader files;
    for (const auto& c : cases) {
        SCOPED_TRACE("entry " + std::to_string(c.entry) + " number " + std::to_string(c.number));
        const Described& attribute = files.at(c.entry, c.number);
        EXPECT_EQ(attribute.storage, c.storage);
        EXPECT_EQ(attribute.offset, c.offset);
        EXPECT_EQ(attribute.bit, c.bit);
    }
}

TEST(AttributeFiles, StayInsideTheRecordsAndUseAllStorages) {
    const Reader files;
    ASSERT_EQ(files.all().size(), 8U);
    const std::map<std::size_t, int> recordSizes{
        {kVA, 114}, {kDI, 56}, {kHI, 48}, {kDO, 58}, {kAV, 204}};
    std::map<int, int> seen;
    for (const auto& [entry, size] : recordSizes) {
        for (const Described& attribute : files.all()[entry]) {
            const std::map<int, int> widths{{0, 1}, {1, 1}, {2, 2}, {3, 4}, {6, 9}};
            ASSERT_TRUE(widths.contains(attribute.storage)) << attribute.name;
            const bool longText = entry == kHI && attribute.offset == 28 && attribute.storage == 6;
            const int width = longText ? 17 : widths.at(attribute.storage);
            EXPECT_LE(attribute.offset + width, size) << attribute.name;
            EXPECT_LT(attribute.bit, 8) << attribute.name;
            EXPECT_FALSE(attribute.name.empty());
            ++seen[attribute.storage];
        }
    }
    EXPECT_EQ(seen.size(), 5U);
    for (const std::size_t unused : {3U, 4U, 6U}) {
        EXPECT_EQ(files.all()[unused].size(), 1U);
    }
}

TEST(AttributeFiles, TheDocumentedTableIsCurrent) {
    std::ifstream file(ATTRIBUTES_MD);
    ASSERT_TRUE(file) << ATTRIBUTES_MD;
    const std::string documented{std::istreambuf_iterator<char>(file), {}};
    EXPECT_EQ(documented, sim::attributeTable())
        << "docs/attributes.md is old: write it with zrtsim --attribute-table";
}

}  // namespace
