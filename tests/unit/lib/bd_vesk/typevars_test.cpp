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
#include "sim/layout/field_table.h"
#include "sim/layout/types.h"

namespace {

using Bytes = std::vector<std::uint8_t>;
using Arrays = std::array<Bytes, 3>;  // passports, current data, current values

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

/// Each type's table over arrays of this process, laid out as zrtsim knows them, each filled with
/// bytes of its own.
TEST(TypeVars, CopyOneElementOrFail) {
    for (const sim::TypeLayout& type : sim::kTypes) {
        SCOPED_TRACE(type.name);
        const bool isPlain = type.passport.elementSize == 0;
        const std::size_t passport = (isPlain ? type.value : type.passport).elementSize;
        const std::size_t element = type.type == sim::TypeCode::AV ? 4 : type.value.elementSize;
        struct Place {
            std::size_t array, offset, size;
        };
        const Place value = type.type == sim::TypeCode::AV
                                ? Place{0, sim::at(sim::TypeCode::AV, "IM"), element}
                                : Place{isPlain ? 0U : 2U, 0, element};
        const Place data = type.data.elementSize != 0 ? Place{1, 0, element} : value;
        const Place places[] = {{0, 0, passport}, data, value};

        Arrays arrays;
        for (std::size_t i = 0; i < arrays.size(); ++i) {
            arrays.at(i).resize(kCount * (i == 0 ? passport : element));
            std::iota(arrays.at(i).begin(), arrays.at(i).end(), static_cast<std::uint8_t>(90 * i));
        }
        const auto table = newTypeVars(static_cast<unsigned>(type.type));
        table->InitPasp(arrays[0].data());
        table->InitCurDat(arrays[1].data());
        table->InitCurVal(arrays[2].data());
        table->setmaxnum(kCount);
        EXPECT_EQ(table->typeAt(), static_cast<int>(type.type));
        EXPECT_EQ(table->maxnumAt(), kCount);
        const auto empty = newTypeVars(static_cast<unsigned>(type.type));
        empty->setmaxnum(kCount);
        for (std::size_t i = 0; i < 3; ++i) {
            const auto& [get, set, address] = kOperations[i];
            const auto [array, offset, size] = places[i];
            for (std::uint16_t num = 1; num <= kCount; ++num) {
                SCOPED_TRACE(testing::Message() << "operations " << i << " variable " << num);
                const std::size_t at = (num - 1U) * (array == 0 ? passport : element) + offset;
                EXPECT_EQ((table.get()->*address)(num), &arrays.at(array).at(at));
                Bytes copy(size + 1, 0xEE);
                EXPECT_EQ((table.get()->*get)(num, copy.data()), 1);
                Arrays changed = arrays;
                EXPECT_TRUE(std::equal(copy.begin(), copy.end() - 1, &arrays.at(array).at(at)));
                EXPECT_EQ(copy.back(), 0xEE);
                std::fill_n(&changed.at(array).at(at), size, 0x77);
                copy.assign(size, 0x77);
                EXPECT_EQ((table.get()->*set)(num, copy.data()), 1);
                EXPECT_EQ(arrays, changed) << "and nothing beside it";
            }
            Bytes buffer(256, 0xEE);
            const Arrays before = arrays;
            for (const auto& [of, num] : {std::pair(table.get(), std::uint16_t{0}),
                                          {table.get(), kCount + 1},
                                          {empty.get(), 1}}) {
                EXPECT_EQ((of->*get)(num, buffer.data()) + (of->*set)(num, buffer.data()), 0);
                EXPECT_EQ((of->*address)(num), nullptr) << num;
            }
            EXPECT_EQ((table.get()->*get)(1, nullptr) + (table.get()->*set)(1, nullptr), 0);
            // Scaled writes are for VA only.
            const std::uint16_t none = type.type == sim::TypeCode::VA ? 0 : 1;
            EXPECT_EQ(table->setCurDatScale(none, buffer.data(), 0, 1), 0);
            EXPECT_EQ(buffer, Bytes(256, 0xEE));
            EXPECT_EQ(arrays, before);
        }
    }
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
