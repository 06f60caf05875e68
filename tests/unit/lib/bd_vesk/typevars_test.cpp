#include "lib/bd_vesk/typevars.h"

#include "lib/bd_vesk/bdvesk.h"
#include "lib/bd_vesk/clist.h"
#include "sim/layout/field_table.h"
#include "sim/memory/database_arrays.h"
#include "tests/support/basics.h"

using Bytes = std::vector<std::byte>;

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

/// Where the operations of a type find a variable, counted from 0.
static std::span<std::byte> placeOf(const sim::DatabaseMemory& memory, const sim::TypeLayout& type,
                                    std::size_t operation, std::size_t i) {
    if (operation == 0 && type.passport.elementSize != 0)
        return {memory.passport(type.type, i), type.passport.elementSize};
    if (operation == 1 && type.data.elementSize != 0)
        return {memory.data(type.type, i), type.data.elementSize};
    if (type.type == sim::TypeCode::AV)
        return {memory.passport(type.type, i) + sim::at(sim::TypeCode::AV, "IM"), 4};
    return {memory.value(type.type, i), type.value.elementSize};
}

/// Each type's table over arrays of this process, laid out and filled as zrtsim knows them.
TEST(TypeVars, CopyOneElementOrFail) {
    sim::Counts counts;
    counts.fill(kCount);
    sim::DatabaseArrays database(counts);
    for (int fill = 0; auto& array : database.arrays)
        for (std::byte& byte : array)
            byte = static_cast<std::byte>(++fill % 251);
    const auto before = database.arrays;
    for (const sim::TypeLayout& type : sim::kTypes) {
        SCOPED_TRACE(type.name);
        const sim::TypeMemory& memory = database.memory.of(type.type);
        const auto table = newTypeVars(static_cast<unsigned>(type.type));
        table->InitPasp(type.passport.elementSize != 0 ? memory.passport : memory.value);
        table->InitCurDat(memory.data);
        table->InitCurVal(memory.value);
        table->setmaxnum(kCount);
        EXPECT_EQ(table->typeAt(), static_cast<int>(type.type));
        const auto empty = newTypeVars(static_cast<unsigned>(type.type));
        empty->setmaxnum(kCount);
        for (std::size_t i = 0; i < 3; ++i) {
            const auto& [get, set, address] = kOperations[i];
            for (std::uint16_t num = 1; num <= kCount; ++num) {
                SCOPED_TRACE(testing::Message() << "operations " << i << " variable " << num);
                const std::span place = placeOf(database.memory, type, i, num - 1U);
                const Bytes former(place.begin(), place.end());
                EXPECT_EQ((table.get()->*address)(num), place.data());
                Bytes copy(place.size() + 1, std::byte{0xEE});
                EXPECT_EQ((table.get()->*get)(num, copy.data()), 1);
                EXPECT_TRUE(std::ranges::equal(place, std::span(copy).first(place.size())));
                EXPECT_EQ(copy.back(), std::byte{0xEE});
                EXPECT_EQ((table.get()->*set)(num, Bytes(place.size(), std::byte{0x77}).data()), 1);
                EXPECT_EQ(std::ranges::count(place, std::byte{0x77}), std::ssize(place));
                std::ranges::copy(former, place.begin());
                EXPECT_EQ(database.arrays, before) << "and nothing beside it";
            }
            Bytes buffer(256, std::byte{0xEE});
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
            EXPECT_EQ(empty->setCurDatScale(1, buffer.data(), 0, 1), 0);
            EXPECT_EQ(buffer, Bytes(256, std::byte{0xEE}));
            EXPECT_EQ(database.arrays, before);
        }
    }
    EXPECT_TRUE(newTypeVars(0) == nullptr && newTypeVars(12) == nullptr);
}

/// Slots of virtual operations in their class's table, from 0. Pointers to virtual members hold the
/// offset: plus one on most machines, plain where the lowest bit of a code address is in use.
template <class... Members>
static std::vector<std::size_t> slotsOf(Members... members) {
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
