#include "lib/bd_vesk/typevars.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <numeric>
#include <utility>
#include <vector>

#include "lib/bd_vesk/bdvesk.h"
#include "lib/bd_vesk/clist.h"

namespace {

using Bytes = std::vector<std::uint8_t>;
using Arrays = std::array<Bytes, 3>;  // passports, current data, current values

/// What the controller's documents say about a type's arrays, apart from the library's own table.
struct Layout {
    unsigned code;
    std::size_t passport;  // bytes of an element
    std::size_t element;   // bytes of a current data or current value
    struct Place {
        std::size_t array, offset;
    } data, value;
};
constexpr Layout kLayouts[] = {
    {1, 114, 4, {1, 0}, {2, 0}}, {2, 204, 4, {0, 167}, {0, 167}}, {3, 48, 4, {2, 0}, {2, 0}},
    {4, 56, 1, {1, 0}, {2, 0}},  {5, 58, 1, {1, 0}, {2, 0}},      {6, 4, 4, {0, 0}, {0, 0}},
    {7, 4, 4, {0, 0}, {0, 0}},   {8, 4, 4, {0, 0}, {0, 0}},       {9, 4, 4, {0, 0}, {0, 0}},
    {10, 2, 2, {0, 0}, {0, 0}},  {11, 1, 1, {0, 0}, {0, 0}},
};
constexpr std::uint16_t kCount = 3;

constexpr struct {
    BOOL (CTypeVars::*get)(std::uint16_t, void*);
    BOOL (CTypeVars::*set)(std::uint16_t, void*);
    void* (CTypeVars::*address)(std::uint16_t);
} kOperations[] = {
    {&CTypeVars::getPasp, &CTypeVars::setPasp, &CTypeVars::getAdrPasp},
    {&CTypeVars::getCurDat, &CTypeVars::setCurDat, &CTypeVars::getAdrCurDat},
    {&CTypeVars::getCurVal, &CTypeVars::setCurVal, &CTypeVars::getAdrCurVal},
};

/// A table over arrays of this process, each filled with bytes of its own.
class TypeVars : public testing::TestWithParam<Layout> {
  protected:
    TypeVars() {
        for (std::size_t i = 0; i < arrays.size(); ++i) {
            arrays.at(i).resize(kCount * (i == 0 ? layout.passport : layout.element));
            std::iota(arrays.at(i).begin(), arrays.at(i).end(), static_cast<std::uint8_t>(90 * i));
        }
        table->InitPasp(arrays[0].data());
        table->InitCurDat(arrays[1].data());
        table->InitCurVal(arrays[2].data());
        table->setmaxnum(kCount);
    }

    const Layout layout = GetParam();
    Arrays arrays;
    const std::unique_ptr<CTypeVars> table = newTypeVars(layout.code);
};
INSTANTIATE_TEST_SUITE_P(All, TypeVars, testing::ValuesIn(kLayouts));

TEST_P(TypeVars, CopiesOneElementAndNothingBesideIt) {
    EXPECT_EQ(table->typeAt(), layout.code);
    EXPECT_EQ(table->maxnumAt(), kCount);
    EXPECT_GT(table->SizeOf(), 2 * sizeof(void*));
    const Layout::Place places[] = {{0, 0}, layout.data, layout.value};
    for (std::size_t i = 0; i < 3; ++i) {
        const auto& [get, set, address] = kOperations[i];
        const auto [array, offset] = places[i];
        const std::size_t size = i == 0 ? layout.passport : layout.element;
        for (std::uint16_t num = 1; num <= kCount; ++num) {
            SCOPED_TRACE(testing::Message() << "operations " << i << " variable " << num);
            const std::size_t step = array == 0 ? layout.passport : layout.element;
            std::uint8_t* const element = &arrays.at(array).at((num - 1U) * step + offset);
            EXPECT_EQ((table.get()->*address)(num), element);
            Bytes copy(size + 1, 0xEE);
            Bytes want(element, element + size);
            want.push_back(0xEE);
            EXPECT_EQ((table.get()->*get)(num, copy.data()), 1);
            EXPECT_EQ(copy, want);

            Arrays changed = arrays;
            std::fill_n(changed.at(array).begin() + (element - arrays.at(array).data()), size,
                        0x77);
            copy.assign(size, 0x77);
            EXPECT_EQ((table.get()->*set)(num, copy.data()), 1);
            EXPECT_EQ(arrays, changed);
        }
    }
}

TEST_P(TypeVars, FailsForNumbersArraysAndBuffersThatAreNotThere) {
    const auto missing = newTypeVars(layout.code);
    missing->setmaxnum(kCount);
    const Arrays before = arrays;
    Bytes buffer(256, 0xEE);
    for (const auto& [get, set, address] : kOperations) {
        for (const auto& [of, num] :
             {std::pair(table.get(), 0), {table.get(), kCount + 1}, {missing.get(), 1}}) {
            const auto number = static_cast<std::uint16_t>(num);
            EXPECT_EQ((of->*get)(number, buffer.data()), 0) << num;
            EXPECT_EQ((of->*set)(number, buffer.data()), 0) << num;
            EXPECT_EQ((of->*address)(number), nullptr) << num;
        }
        EXPECT_EQ((table.get()->*get)(1, nullptr) + (table.get()->*set)(1, nullptr), 0);
    }
    // Scaled writes are for VA only.
    const std::uint16_t num = layout.code == 1 ? 0 : 1;
    EXPECT_EQ(table->setCurDatScale(num, buffer.data(), 0, 1), 0);
    EXPECT_EQ(buffer, Bytes(256, 0xEE));
    EXPECT_EQ(arrays, before);
    EXPECT_EQ(newTypeVars(0), nullptr);
    EXPECT_EQ(newTypeVars(12), nullptr);
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
    EXPECT_EQ(list.itemAt(-1) + list.itemAt(0) + list.itemAt(5), 0) << "empty slots";
    EXPECT_TRUE(list.append(10) && list.append(20) && list.append(30));
    EXPECT_FALSE(list.append(40)) << "full";
    for (const auto& [index, item] : {std::pair(-2, 20), {0, 10}, {1, 20}, {2, 30}, {3, 10}})
        EXPECT_EQ(list.itemAt(index), item) << index;
    list.clear();
    EXPECT_TRUE(list.isEmpty());
}

}  // namespace
