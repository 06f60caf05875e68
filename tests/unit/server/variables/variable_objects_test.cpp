#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

#include "lib/util/shmem.h"
#include "server/variables/VariableTypeAV.h"
#include "server/variables/VariableTypeDV.h"
#include "server/variables/VariableTypeRV.h"
#include "server/variables/VariableTypeVA.h"
#include "server/variables/VariableTypeVD.h"
#include "support/child_process.h"
#include "support/controller_database.h"

using testing::ElementsAre;
using testing::HasSubstr;
using Area = ControllerDatabase::Area;

namespace {

/// What tells the kinds apart, seen from outside.
template <class Class, int& Counter, int Type, int DbType, std::size_t NameOffset, int Entries>
struct Kind {
    using Variable = Class;
    static constexpr int kType = Type, kDbType = DbType, kEntries = Entries;
    static constexpr std::size_t kNameOffset = NameOffset;
    static constexpr const char* kWord = std::array{"VA", "AV", "RV", "VD", "DV"}[Type];
    static int& counter() { return Counter; }
};

using Kinds = testing::Types<Kind<VariableTypeVA, VariableTypeVA::objectCounterVA, 0, DB_VA, 4, 1>,
                             Kind<VariableTypeAV, VariableTypeAV::objectCounterAV, 1, DB_AV, 4, 3>,
                             Kind<VariableTypeRV, VariableTypeRV::objectCounterRV, 2, DB_HI, 0, 50>,
                             Kind<VariableTypeVD, VariableTypeVD::objectCounterVD, 3, DB_DI, 4, 2>,
                             Kind<VariableTypeDV, VariableTypeDV::objectCounterDV, 4, DB_DO, 5, 4>>;

/// One entry per published type, named by its number.
std::vector<Section> oneEntryPerType() {
    Section section{"Attributes", {}};
    for (const char* number : {"1", "2", "3", "4", "50", "51", "52"})
        section.params.push_back(
            {std::string("Type") + number + ".X", std::string(number) + ", 1"});
    return {section};
}

std::vector<std::string> entryNames(UARTEXVariable& variable) {
    std::vector<std::string> names;
    for (const TagInfo& entry : variable.getConfigForTag(oneEntryPerType(), "main", 0, {}))
        names.push_back(entry.name);
    return names;
}

class Variables : public testing::Test {
  protected:
    Variables() { database.clear(); }
    ~Variables() override { rtexvariable.clear(); }

    template <class Variable>
    static Variable& append() {
        rtexvariable.push_back(std::make_unique<Variable>());
        return static_cast<Variable&>(*rtexvariable.back());
    }
};

template <class K>
class EveryKind : public Variables {};

struct KindNames {
    template <class K>
    static std::string GetName(int) {
        return K::kWord;
    }
};

}  // namespace

TYPED_TEST_SUITE(EveryKind, Kinds, KindNames);

TYPED_TEST(EveryKind, HasItsNumbersAndIdentifiers) {
    typename TypeParam::Variable variable;
    const std::string word = TypeParam::kWord;
    EXPECT_EQ(variable.getType(), TypeParam::kType);
    EXPECT_EQ(variable.getRVType(), 0);
    EXPECT_EQ(variable.getStructId(0), word + "_0");
    EXPECT_EQ(variable.getStructId(65535), word + "_65535");
    EXPECT_EQ(variable.getStructId(-1), word + "_-1");
    EXPECT_EQ(variable.getNodeId(7), word + ".7.A");
    EXPECT_EQ(variable.getNameCp866(), "") << "not bound yet";
    EXPECT_THAT(entryNames(variable), ElementsAre(std::to_string(TypeParam::kEntries)));
}

TYPED_TEST(EveryKind, NumbersItsObjectsByItself) {
    const int before = TypeParam::counter();
    typename TypeParam::Variable first;
    std::conditional_t<TypeParam::kType == 0, VariableTypeRV, VariableTypeVA> other;
    typename TypeParam::Variable second;
    EXPECT_EQ(first.getId(), before);
    EXPECT_EQ(second.getId(), before + 1);
    second.setId(7);
    EXPECT_EQ(second.getId(), 7);
}

TYPED_TEST(EveryKind, TakesItsNameFromThePassport) {
    typename TypeParam::Variable variable;
    database.putText(TypeParam::kDbType, 1, TypeParam::kNameOffset, "\x8F-1");
    database.putText(TypeParam::kDbType, 2, TypeParam::kNameOffset, "123456789x");
    const auto bind = [&](int num) {
        CTypeVars* table = UARTEXVariable::veskdb.getTypeVars(TypeParam::kDbType);
        variable.createVarObj(UARTEXVariable::veskdb,
                              table->getAdrPasp(static_cast<std::uint16_t>(num)));
    };
    bind(1);
    EXPECT_EQ(variable.getNameCp866(), "\x8F-1");
    variable.createVarObj(UARTEXVariable::veskdb, nullptr);
    EXPECT_EQ(variable.getNameCp866(), "\x8F-1") << "no passport, no change";
    bind(2);
    EXPECT_EQ(variable.getNameCp866(), "123456789") << "without a NUL it ends with its field";
}

TYPED_TEST(EveryKind, BindsTheLastObjectOfTheList) {
    using Variable = typename TypeParam::Variable;
    const int count = ControllerDatabase::kCounts[TypeParam::kDbType - 1];
    database.putText(TypeParam::kDbType, count, TypeParam::kNameOffset, "LAST");
    auto& first = this->template append<Variable>();
    auto& last = this->template append<Variable>();
    EXPECT_EQ(first.getCountVarFormObj(count), 0);
    EXPECT_EQ(first.getNameCp866(), "");
    EXPECT_EQ(last.getNameCp866(), "LAST");
    for (const int none : {0, -1, count + 1, 65'536, 65'537})
        EXPECT_EQ(last.getCountVarFormObj(none), 1) << none;
    EXPECT_EQ(last.getNameCp866(), "LAST");
}

TYPED_TEST(EveryKind, CannotBindWithoutAList) {
    typename TypeParam::Variable variable;
    Capture err(STDERR_FILENO);
    EXPECT_EQ(variable.getCountVarFormObj(1), 1);
    EXPECT_EQ(err.text().empty(), TypeParam::kType != 1) << "only AV says so";
}

// ---- What single kinds have of their own -------------------------------------------------------

TEST_F(Variables, OfManualInputsReadTheEntriesOfTheirLayout) {
    const struct {
        std::uint8_t layout;
        std::vector<std::string> entries;
    } cases[] = {{0, {"50"}}, {1, {"51"}}, {2, {"52"}}, {3, {}}, {0xFF, {}}};
    for (const auto& c : cases) {
        database.put(Area::passport, DB_HI, 4, 27, c.layout);
        auto& variable = append<VariableTypeRV>();
        ASSERT_EQ(variable.getCountVarFormObj(4), 0);
        EXPECT_EQ(variable.getRVType(), c.layout) << "unsigned on every machine";
        EXPECT_EQ(entryNames(variable), c.entries);
    }
}

namespace {
/// Fails to bind in one of two ways.
template <class Thrown>
class Unbindable : public VariableOfKind {
  public:
    Unbindable() : VariableOfKind(kindOf(VariableType::VA), 0) {}
    void createVarObj(CVeskBDSh& /*db*/, void* /*passport*/) override { throw Thrown("broken"); }
};
}  // namespace

TEST_F(Variables, OfAnalogOutputsTellWhyTheyCannotBeBound) {
    VariableTypeAV av;
    VariableTypeVA va;
    append<Unbindable<std::runtime_error>>();
    Capture withReason(STDERR_FILENO);
    EXPECT_EQ(av.getCountVarFormObj(1), 1);
    EXPECT_THAT(withReason.text(), HasSubstr("broken"));
    EXPECT_THROW(va.getCountVarFormObj(1), std::runtime_error) << "the other kinds do not guard";

    append<Unbindable<const char*>>();
    Capture unknown(STDERR_FILENO);
    EXPECT_EQ(av.getCountVarFormObj(1), 1);
    EXPECT_THAT(unknown.text(), HasSubstr("unknown exception"));
}

// ---- Loading -----------------------------------------------------------------------------------

TEST_F(Variables, LoadTheDatabaseOnce) {
    VariableTypeVA first;
    VariableTypeVA second;
    VariableTypeDV other;
    EXPECT_EQ(database.requestsFrom(getpid()).size(), 11U);
}

TEST_F(Variables, BindNothingFromAnArrayOfPlainValues) {
    // Without analog outputs their place in the list is the next type's, here plain floats: four
    // bytes each, and none of them a designation.
    ChildProcess child([] {
        constexpr std::uint16_t kCount = 1024;  // a whole page: nothing of ours lies behind it
        VariableTypeVA loads;
        auto* values = static_cast<float*>(ShmOpen(22, kCount * sizeof(float), 1, nullptr, 0));
        std::fill_n(values, kCount, 1.7F);
        database.answer({{DB_VA, 3}, {DB_TH, kCount}});
        UARTEXVariable::veskdb.LoadBD();
        auto& variable = append<VariableTypeAV>();
        for (const int number : {1, int{kCount}}) {
            EXPECT_EQ(variable.getCountVarFormObj(number), 0) << "the database has that number";
            EXPECT_EQ(variable.getNameCp866(), "");
        }
        return 0;
    });
    EXPECT_EQ(child.wait(), 0);
    database.answer({{DB_VA, 3}, {DB_AV, 2}, {DB_HI, 4}, {DB_DI, 2}, {DB_DO, 2}});
}
