#include "lib/bd_vesk/typevars.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <numeric>
#include <vector>

#include "lib/bd_vesk/bdvesk.h"
#include "lib/bd_vesk/clist.h"

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

using Copy = BOOL (CTypeVars::*)(std::uint16_t, void*);
constexpr std::array<Copy, 3> kGets{&CTypeVars::getPasp, &CTypeVars::getCurDat,
                                    &CTypeVars::getCurVal};
constexpr std::array<Copy, 3> kSets{&CTypeVars::setPasp, &CTypeVars::setCurDat,
                                    &CTypeVars::setCurVal};

class TypeVars : public testing::TestWithParam<Layout> {
  protected:
    /// Every operation answers 0, and the buffer stays.
    static void expectFailure(CTypeVars& table, std::uint16_t num, bool isNull = false) {
        Bytes buffer(256, 0xEE);
        void* const data = isNull ? nullptr : buffer.data();
        for (const auto& operations : {kGets, kSets})
            for (const Copy copy : operations)
                EXPECT_EQ((table.*copy)(num, data), 0);
        EXPECT_EQ(table.setCurDatScale(num, data, 0, 1), 0);
        EXPECT_EQ(buffer, Bytes(256, 0xEE));
        if (isNull) return;
        EXPECT_EQ(table.getAdrPasp(num), nullptr);
        EXPECT_EQ(table.getAdrCurDat(num), nullptr);
        EXPECT_EQ(table.getAdrCurVal(num), nullptr);
    }
    static void expectSame(const Table& a, const Table& b) {
        EXPECT_EQ(a.passports, b.passports);
        EXPECT_EQ(a.data, b.data);
        EXPECT_EQ(a.values, b.values);
    }

    Table t{GetParam()};
    Table untouched{GetParam()};
};
INSTANTIATE_TEST_SUITE_P(All, TypeVars, testing::ValuesIn(kLayouts));

TEST_P(TypeVars, CopiesOneElementAndNothingBesideIt) {
    ASSERT_NE(t.table, nullptr);
    EXPECT_EQ(t.table->typeAt(), GetParam().code);
    EXPECT_EQ(t.table->maxnumAt(), kCount);
    EXPECT_GT(t.table->SizeOf(), 2 * sizeof(void*));
    const std::size_t sizes[] = {GetParam().passport, GetParam().element, GetParam().element};
    for (std::size_t i = 0; i < 3; ++i) {
        const Copy get = kGets.at(i);
        const Copy set = kSets.at(i);
        const auto placeIn = [i](Table& table, std::uint16_t num) {
            return i == 0 ? table.passportOf(num) : i == 1 ? table.dataOf(num) : table.valueOf(num);
        };
        for (std::uint16_t num = 1; num <= kCount; ++num) {
            SCOPED_TRACE(testing::Message() << "array " << i << " variable " << num);
            const auto address = i == 0   ? t.table->getAdrPasp(num)
                                 : i == 1 ? t.table->getAdrCurDat(num)
                                          : t.table->getAdrCurVal(num);
            EXPECT_EQ(address, placeIn(t, num));
            Bytes buffer(sizes[i] + 1, 0xEE);
            EXPECT_EQ((t.table.get()->*get)(num, buffer.data()), 1);
            EXPECT_EQ(std::memcmp(buffer.data(), placeIn(untouched, num), sizes[i]), 0);
            EXPECT_EQ(buffer[sizes[i]], 0xEE);

            Table changed(GetParam());
            Table expected(GetParam());
            std::memset(placeIn(expected, num), 0x77, sizes[i]);
            buffer.assign(sizes[i], 0x77);
            EXPECT_EQ((changed.table.get()->*set)(num, buffer.data()), 1);
            expectSame(changed, expected);
        }
    }
}

TEST_P(TypeVars, FailsForNumbersArraysAndBuffersThatAreNotThere) {
    for (const auto num : std::initializer_list<std::uint16_t>{0, kCount + 1, 0xFFFF})
        expectFailure(*t.table, num);
    expectFailure(*t.table, 1, true);
    expectSame(t, untouched);
    const auto missing = newTypeVars(GetParam().code);
    EXPECT_EQ(missing->maxnumAt(), 0);
    missing->setmaxnum(kCount);
    expectFailure(*missing, 1);
    EXPECT_EQ(newTypeVars(0), nullptr);
    EXPECT_EQ(newTypeVars(12), nullptr);
}

TEST_P(TypeVars, ScalesTheCurrentDataOfAnalogInputsOnly) {
    const float scale[] = {-50, 150};  // NSHK, KSHK
    float value = 30;
    if (GetParam().code == 1) {
        for (Table* table : {&t, &untouched})
            std::memcpy(table->passportOf(2) + 34, scale, sizeof(scale));
        const float stored = -42;  // (30 - 10) * (90 - 10) / (150 + 50) - 50
        std::memcpy(untouched.dataOf(2), &stored, sizeof(stored));
    }
    EXPECT_EQ(t.table->setCurDatScale(2, &value, 10, 90), GetParam().code == 1);
    expectSame(t, untouched);
}

/// Slots of virtual operations in their class's table, from 0. Pointers to virtual members hold the
/// offset: plus one on most machines, plain where the lowest bit of a code address is in use.
template <class... Members>
std::vector<std::size_t> slotsOf(Members... members) {
    const auto slot = [](auto member) {
        std::ptrdiff_t words[2];
        static_assert(sizeof(member) == sizeof(words));
        std::memcpy(words, &member, sizeof(words));
        return static_cast<std::size_t>(words[0]) / sizeof(void*);
    };
    return {slot(members)...};
}

TEST(VirtualTables, KeepTheirOrderBehindTheDestructors) {
    std::vector<std::size_t> want(17);
    std::iota(want.begin(), want.end(), std::size_t{2});
    using T = CTypeVars;
    EXPECT_EQ(slotsOf(&T::SizeOf, &T::InitPasp, &T::InitCurDat, &T::InitCurVal, &T::getAdrPasp,
                      &T::getAdrCurDat, &T::getAdrCurVal, &T::getPasp, &T::getCurDat, &T::getCurVal,
                      &T::setPasp, &T::setCurDat, &T::setCurDatScale, &T::setCurVal, &T::setmaxnum,
                      &T::typeAt, &T::maxnumAt),
              want);
    want.resize(13);
    using D = CVeskBDSh;
    EXPECT_EQ(slotsOf(&D::LoadBD, &D::LoadAperture, &D::SaveBD, &D::ObrBD, &D::getTypeVars,
                      &D::isVariable, &D::isAttribute, &D::getTypeAtr, &D::setDat, &D::setDatScale,
                      &D::getVal, &D::getDat, &D::getChangeVal),
              want);
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
