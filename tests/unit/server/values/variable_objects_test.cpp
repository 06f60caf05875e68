#include "lib/util/shmem.h"
#include "server/values/CreateVariables.h"
#include "server/values/VariableTypeAV.h"
#include "server/values/VariableTypeDV.h"
#include "server/values/VariableTypeRV.h"
#include "server/values/VariableTypeVA.h"
#include "server/values/VariableTypeVD.h"
#include "tests/support/child_process.h"
#include "tests/support/controller_database.h"

using testing::HasSubstr;
using Area = ControllerDatabase::Area;

namespace {

/// What distinguishes the kinds, seen from outside.
const struct Kind {
    std::string word;
    VariableType type;
    int* counter;
    int dbType;
    std::size_t nameOffset;
    auto make() const { return newVariable(type); }
} kRows[] = {{"VA", VariableType{0}, &VariableTypeVA::objectCounterVA, 1, 4},
             {"AV", VariableType{1}, &VariableTypeAV::objectCounterAV, 2, 4},
             {"RV", VariableType{2}, &VariableTypeRV::objectCounterRV, 3, 0},
             {"VD", VariableType{3}, &VariableTypeVD::objectCounterVD, 4, 4},
             {"DV", VariableType{4}, &VariableTypeDV::objectCounterDV, 5, 5}};

class Variables : public testing::Test {
  protected:
    Variables() { database.clear(); }
    ~Variables() override { rtexvariable.clear(); }
};

}  // namespace

TEST_F(Variables, CountForEachKindAndNameNodesByIt) {
    for (const Kind& kind : kRows) {
        const int before = *kind.counter;
        const auto variable = kind.make();
        const auto other = kRows[&kind == kRows ? 1 : 0].make();
        EXPECT_EQ(kind.make()->getId(), before + 1) << kind.word;
        EXPECT_EQ(variable->getStructId(-1) + variable->getNodeId(7),
                  kind.word + "_-1" + kind.word + ".7.A");
    }
}

TEST_F(Variables, BindTheLastObjectOfTheListToItsPassport) {
    for (const Kind& kind : kRows) {
        SCOPED_TRACE(kind.word);
        const int count = ControllerDatabase::kCounts.at(static_cast<std::size_t>(kind.dbType - 1));
        database.putText(kind.dbType, 1, kind.nameOffset, "\x8F-1");
        database.putText(kind.dbType, count, kind.nameOffset, "123456789x");
        rtexvariable.push_back(kind.make());
        rtexvariable.push_back(kind.make());
        const auto name = [](UARTEXVariable& variable) {
            return dynamic_cast<VariableOfKind&>(variable).getNameCp866();
        };
        UARTEXVariable& first = *rtexvariable.front();
        UARTEXVariable& last = *rtexvariable.back();
        EXPECT_EQ(first.getCountVarFormObj(1), 0);
        EXPECT_EQ(name(first) + name(last), "\x8F-1") << "the last one's";
        EXPECT_EQ(last.getCountVarFormObj(count), 0);
        for (const int none : {0, -1, count + 1, 65'536, 65'537})
            EXPECT_EQ(last.getCountVarFormObj(none), 1) << none;
        EXPECT_EQ(name(last), "123456789") << "without a NUL it ends with its field";

        rtexvariable.clear();
        Capture err(STDERR_FILENO);
        EXPECT_EQ(kind.make()->getCountVarFormObj(1), 1) << "no list";
        EXPECT_EQ(err.text().empty(), kind.word != "AV") << "only AV says so";
    }
}

// ---- What single kinds have of their own -------------------------------------------------------

namespace {
class Unbindable : public VariableOfKind {
  public:
    Unbindable() : VariableOfKind(kindOf(VariableType::VA), 0) {}
    void createVarObj(CVeskBDSh& /*db*/, void* /*passport*/) override {
        throw std::runtime_error("broken");
    }
};
}  // namespace

TEST_F(Variables, OfAnalogOutputsReportWhyTheyAreNotBound) {
    rtexvariable.push_back(std::make_unique<Unbindable>());
    Capture err(STDERR_FILENO);
    EXPECT_EQ(VariableTypeAV().getCountVarFormObj(1), 1);
    EXPECT_THAT(err.text(), HasSubstr("broken"));
    EXPECT_THROW(VariableTypeVA().getCountVarFormObj(1), std::runtime_error) << "only AV guards";
}

// ---- Loading -----------------------------------------------------------------------------------

TEST_F(Variables, BindNothingFromAnArrayOfPlainValues) {
    // Without analog outputs their place in the list is the next type's, here plain floats: four
    // bytes each, and none of them a designation.
    ChildProcess child([] {
        constexpr std::uint16_t kCount = 1024;  // a whole page, so that reads beyond it fail
        VariableTypeVA loads;
        auto* values = static_cast<float*>(ShmOpen(22, kCount * sizeof(float), 1, nullptr, 0));
        std::fill_n(values, kCount, 1.7F);
        database.announced = {3, 0, 0, 0, 0, kCount};
        UARTEXVariable::veskdb.LoadBD();
        rtexvariable.push_back(newVariable(VariableType::AV));
        auto& variable = static_cast<VariableTypeAV&>(*rtexvariable.back());
        for (const int number : {1, int{kCount}}) {
            EXPECT_EQ(variable.getCountVarFormObj(number), 0) << "the database has that number";
            EXPECT_EQ(variable.getNameCp866(), "");
        }
        return 0;
    });
    EXPECT_EQ(child.wait(), 0);
    database.announced = ControllerDatabase::kCounts;
}
