#include "lib/bd_vesk/typevars.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <numeric>
#include <vector>

#include "lib/bd_vesk/clist.h"
#include "slots.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

/// What the controller's documents say about a type's arrays, apart from the library's own table.
struct Layout {
    unsigned code;
    std::size_t passport;  // bytes of an element
    std::size_t element;   // bytes of a current data or current value
    int curDatOffset;      // in the passport; -1: an array of its own; -2: the current values'
    int curValOffset;      // in the passport; -1: an array of its own
};
constexpr int kOwn = -1;
constexpr int kValues = -2;
constexpr Layout kLayouts[] = {
    {1, 114, 4, kOwn, kOwn}, {2, 204, 4, 167, 167},  {3, 48, 4, kValues, kOwn},
    {4, 56, 1, kOwn, kOwn},  {5, 58, 1, kOwn, kOwn}, {6, 4, 4, 0, 0},
    {7, 4, 4, 0, 0},         {8, 4, 4, 0, 0},        {9, 4, 4, 0, 0},
    {10, 2, 2, 0, 0},        {11, 1, 1, 0, 0},
};

constexpr std::uint16_t kCount = 3;

/// A table over arrays of this process, each filled with bytes of its own.
class Table {
  public:
    explicit Table(const Layout& layout) : layout_(layout), table(newTypeVars(layout.code)) {
        for (Bytes* array : {&passports, &data, &values})
            array->resize(kCount * (array == &passports ? layout.passport : layout.element));
        std::iota(passports.begin(), passports.end(), std::uint8_t{1});
        std::iota(data.begin(), data.end(), std::uint8_t{100});
        std::iota(values.begin(), values.end(), std::uint8_t{200});
        table->InitPasp(passports.data());
        table->InitCurDat(data.data());
        table->InitCurVal(values.data());
        table->setmaxnum(kCount);
    }

    std::uint8_t* passportOf(std::uint16_t num) {
        return &passports[(num - 1U) * layout_.passport];
    }
    std::uint8_t* dataOf(std::uint16_t num) { return place(layout_.curDatOffset, data, num); }
    std::uint8_t* valueOf(std::uint16_t num) { return place(layout_.curValOffset, values, num); }

  private:
    std::uint8_t* place(int offset, Bytes& own, std::uint16_t num) {
        Bytes& array = offset == kValues ? values : own;
        return offset < 0 ? &array[(num - 1U) * layout_.element] : passportOf(num) + offset;
    }

    Layout layout_;

  public:
    Bytes passports, data, values;
    std::unique_ptr<CTypeVars> table;
};

TEST(TypeVars, FindsEveryElementOfEveryType) {
    for (const Layout& layout : kLayouts) {
        SCOPED_TRACE(layout.code);
        Table t(layout);
        ASSERT_NE(t.table, nullptr);
        EXPECT_EQ(t.table->typeAt(), layout.code);
        EXPECT_EQ(t.table->maxnumAt(), kCount);
        EXPECT_GT(t.table->SizeOf(), 2 * sizeof(void*));
        for (std::uint16_t num = 1; num <= kCount; ++num) {
            EXPECT_EQ(t.table->getAdrPasp(num), t.passportOf(num));
            EXPECT_EQ(t.table->getAdrCurDat(num), t.dataOf(num));
            EXPECT_EQ(t.table->getAdrCurVal(num), t.valueOf(num));
        }
    }
    EXPECT_EQ(newTypeVars(0), nullptr);
    EXPECT_EQ(newTypeVars(12), nullptr);
}

TEST(TypeVars, CopiesOneElementAndNothingBesideIt) {
    for (const Layout& layout : kLayouts) {
        SCOPED_TRACE(layout.code);
        const auto copiesOne = [&](auto get, auto set, auto place, std::size_t size) {
            Table t(layout);
            Bytes buffer(size + 1, 0xEE);
            ASSERT_EQ((t.table.get()->*get)(2, buffer.data()), 1);
            EXPECT_EQ(std::memcmp(buffer.data(), (t.*place)(2), size), 0);
            EXPECT_EQ(buffer[size], 0xEE);

            Table expected(layout);
            std::memset((expected.*place)(3), 0x77, size);
            Bytes source(size, 0x77);
            ASSERT_EQ((t.table.get()->*set)(3, source.data()), 1);
            EXPECT_EQ(t.passports, expected.passports);
            EXPECT_EQ(t.data, expected.data);
            EXPECT_EQ(t.values, expected.values);
        };
        copiesOne(&CTypeVars::getPasp, &CTypeVars::setPasp, &Table::passportOf, layout.passport);
        copiesOne(&CTypeVars::getCurDat, &CTypeVars::setCurDat, &Table::dataOf, layout.element);
        copiesOne(&CTypeVars::getCurVal, &CTypeVars::setCurVal, &Table::valueOf, layout.element);
    }
}

/// Every operation on one number answers 0, and the buffer stays.
void expectFailure(CTypeVars& table, std::uint16_t num) {
    Bytes buffer(256, 0xEE);
    EXPECT_EQ(table.getAdrPasp(num), nullptr);
    EXPECT_EQ(table.getAdrCurDat(num), nullptr);
    EXPECT_EQ(table.getAdrCurVal(num), nullptr);
    for (const auto get : {&CTypeVars::getPasp, &CTypeVars::getCurDat, &CTypeVars::getCurVal,
                           &CTypeVars::setPasp, &CTypeVars::setCurDat, &CTypeVars::setCurVal})
        EXPECT_EQ((table.*get)(num, buffer.data()), 0);
    EXPECT_EQ(table.setCurDatScale(num, buffer.data(), 0, 1), 0);
    EXPECT_EQ(buffer, Bytes(256, 0xEE));
}

TEST(TypeVars, FailsForNumbersAndArraysThatAreNotThere) {
    for (const Layout& layout : kLayouts) {
        SCOPED_TRACE(layout.code);
        Table t(layout);
        const Table untouched(layout);
        for (const auto num : std::initializer_list<std::uint16_t>{0, kCount + 1, 0xFFFF})
            expectFailure(*t.table, num);
        for (const auto copy : {&CTypeVars::getPasp, &CTypeVars::getCurDat, &CTypeVars::getCurVal,
                                &CTypeVars::setPasp, &CTypeVars::setCurDat, &CTypeVars::setCurVal})
            EXPECT_EQ((t.table.get()->*copy)(1, nullptr), 0) << "a null buffer";
        EXPECT_EQ(t.table->setCurDatScale(1, nullptr, 0, 1), 0);
        EXPECT_EQ(t.passports, untouched.passports);
        EXPECT_EQ(t.data, untouched.data);
        EXPECT_EQ(t.values, untouched.values);

        const auto missing = newTypeVars(layout.code);
        missing->setmaxnum(kCount);
        expectFailure(*missing, 1);
        EXPECT_EQ(newTypeVars(layout.code)->maxnumAt(), 0);
    }
}

TEST(TypeVars, ScalesTheCurrentDataOfAnalogInputsOnly) {
    for (const Layout& layout : kLayouts) {
        SCOPED_TRACE(layout.code);
        Table t(layout);
        const Table untouched(layout);
        const float scale[] = {-50, 150};  // NSHK, KSHK
        float value = 30;
        if (layout.code != 1) {
            EXPECT_EQ(t.table->setCurDatScale(2, &value, 10, 90), 0);
            EXPECT_EQ(t.passports, untouched.passports);
            EXPECT_EQ(t.data, untouched.data);
            continue;
        }
        std::memcpy(t.passportOf(2) + 34, scale, sizeof(scale));
        ASSERT_EQ(t.table->setCurDatScale(2, &value, 10, 90), 1);
        float stored = 0;
        ASSERT_EQ(t.table->getCurDat(2, &stored), 1);
        EXPECT_FLOAT_EQ(stored, 20.0F * 80.0F / 200.0F - 50.0F);  // -42
        EXPECT_EQ(t.values, untouched.values);
    }
}

TEST(TypeVars, KeepsTheOrderOfTheVirtualTable) {
    EXPECT_EQ(
        slotsOf<CTypeVars>(&CTypeVars::SizeOf, &CTypeVars::InitPasp, &CTypeVars::InitCurDat,
                           &CTypeVars::InitCurVal, &CTypeVars::getAdrPasp, &CTypeVars::getAdrCurDat,
                           &CTypeVars::getAdrCurVal, &CTypeVars::getPasp, &CTypeVars::getCurDat,
                           &CTypeVars::getCurVal, &CTypeVars::setPasp, &CTypeVars::setCurDat,
                           &CTypeVars::setCurDatScale, &CTypeVars::setCurVal, &CTypeVars::setmaxnum,
                           &CTypeVars::typeAt, &CTypeVars::maxnumAt),
        slotsFromTwo(17));
}

TEST(CList, IsARingWithoutRangeCheck) {
    CList<int, 3> list;
    EXPECT_TRUE(list.isEmpty());
    for (const int index : {-1, 0, 2, 5})
        EXPECT_EQ(list.itemAt(index), 0) << "empty slots";
    EXPECT_TRUE(list.append(10));
    EXPECT_TRUE(list.append(20));
    EXPECT_EQ(list.itemAt(0), 10);
    EXPECT_EQ(list.itemAt(1), 20);
    EXPECT_EQ(list.itemAt(2), 0) << "not filled";
    EXPECT_EQ(list.itemAt(3), 10) << "comes round";
    EXPECT_EQ(list.itemAt(-2), 20);
    EXPECT_TRUE(list.append(30));
    EXPECT_FALSE(list.append(40));
    EXPECT_EQ(list.itemAt(2), 30);
    EXPECT_EQ(list.itemAt(0), 10) << "a full list stays as it is";
    list.clear();
    EXPECT_TRUE(list.isEmpty());
    EXPECT_EQ(list.itemAt(0), 0);
}

}  // namespace
