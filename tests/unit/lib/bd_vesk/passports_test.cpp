#include "lib/bd_vesk/passports.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <utility>
#include <vector>

namespace {

/// Offset and size of each field, in the order of the controller's documents. With the offsets that
/// passports.h asserts where the type changes, a field out of its place breaks the row.
using Fields = std::vector<std::pair<std::size_t, std::size_t>>;

void expectInOrder(const char* record, const Fields& fields, std::size_t size) {
    std::size_t end = 0;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        EXPECT_EQ(fields[i].first, end) << record << " field " << i;
        end += fields[i].second;
    }
    EXPECT_EQ(end, size) << record;
}

TEST(Passports, FieldsStandInTheControllersOrder) {
#define FIELD(field) {offsetof(Record, field), sizeof(Record::field)}
    // clang-format off
    {
        using Record = ANALOG;
        expectInOrder("ANALOG", {
            FIELD(NKAN), FIELD(NUSO), FIELD(NPLT), FIELD(N_INPUT), FIELD(POZ), FIELD(NAME1),
            FIELD(NAME2), FIELD(UNIT), FIELD(PP), FIELD(LIN), FIELD(NSHK), FIELD(KSHK), FIELD(NPG),
            FIELD(VPG), FIELD(NAG), FIELD(VAG), FIELD(GST), FIELD(TSK), FIELD(SK_UP),
            FIELD(SK_DOWN), FIELD(FLT), FIELD(SKD), FIELD(DST), FIELD(WorkVAL), FIELD(OTS),
            FIELD(NTR), FIELD(KTR), FIELD(TZV), FIELD(TZN), FIELD(ZAPRET), FIELD(STATUS1),
            FIELD(STATUS2), FIELD(ALARM), FIELD(DIAGN), FIELD(SELF_SECT), FIELD(justify)}, 114);
    }
    {
        using Record = ANALOG_OUT;
        expectInOrder("ANALOG_OUT", {
            FIELD(NKAN), FIELD(NUSO), FIELD(NPLT), FIELD(NOUT), FIELD(POZ), FIELD(NAME1),
            FIELD(NAME2), FIELD(POZP), FIELD(POZD), FIELD(PUW), FIELD(PAU), FIELD(WIM), FIELD(IMW),
            FIELD(PP), FIELD(ZD), FIELD(ZPM), FIELD(KP), FIELD(T), FIELD(KD), FIELD(NEC),
            FIELD(KNEC), FIELD(TCP), FIELD(TCO), FIELD(MAX), FIELD(MIN), FIELD(SMAX), FIELD(SMIN),
            FIELD(TKT), FIELD(KL), FIELD(TKL), FIELD(reserved), FIELD(KF), FIELD(SIM), FIELD(PRM),
            FIELD(PRD), FIELD(ZDD), FIELD(ZDP), FIELD(PZD), FIELD(RSS), FIELD(RSSP), FIELD(RSSN),
            FIELD(IMP), FIELD(IM), FIELD(IMR), FIELD(TRU), FIELD(TRVS), FIELD(DIM), FIELD(PIM),
            FIELD(SRSS), FIELD(FOR), FIELD(TR), FIELD(SCT1), FIELD(SCT2), FIELD(STATUS1),
            FIELD(STATUS2), FIELD(STATUS3), FIELD(STATUS4), FIELD(STATUS5), FIELD(STATUS6),
            FIELD(ALARM), FIELD(SELF_SECT), FIELD(justify)}, 204);
    }
    {
        using Record = DIS_FV;
        expectInOrder("DIS_FV", {
            FIELD(NKAN), FIELD(NUSO), FIELD(NPLT), FIELD(N_INPUT), FIELD(POZ), FIELD(NAME1),
            FIELD(NAME2), FIELD(COLOR0), FIELD(LOGNAME0), FIELD(COLOR1), FIELD(LOGNAME1),
            FIELD(KOP), FIELD(INVERS), FIELD(REG1), FIELD(REG0), FIELD(SGN0), FIELD(SGN1),
            FIELD(TYP_SGN), FIELD(ZZP), FIELD(_ZZP), FIELD(ROZD), FIELD(SGN_Z), FIELD(TIM1),
            FIELD(TIM0), FIELD(STATUS1), FIELD(STATUS2), FIELD(ALARM), FIELD(SELF_SECT),
            FIELD(typevar), FIELD(indvar), FIELD(justify)}, 56);
    }
    {
        using Record = DIS_OUT;
        expectInOrder("DIS_OUT", {
            FIELD(NKAN), FIELD(NUSO), FIELD(TUSO), FIELD(NPLT), FIELD(N_OUTPUT), FIELD(POZ),
            FIELD(NAME1), FIELD(NAME2), FIELD(COLOR0), FIELD(LOGNAME0), FIELD(COLOR1),
            FIELD(LOGNAME1), FIELD(KOP), FIELD(INVERS), FIELD(REG1), FIELD(REG0), FIELD(RVS),
            FIELD(ZDR), FIELD(ZDA), FIELD(OUT), FIELD(DU), FIELD(PLU), FIELD(MU), FIELD(TIME),
            FIELD(STATUS1), FIELD(STATUS2), FIELD(ALARM), FIELD(SELF_SECT), FIELD(typevar1),
            FIELD(indvar1), FIELD(typevar2), FIELD(indvar2)}, 58);
    }
    {
        using Record = HAND_INP;
        expectInOrder("HAND_INP", {
            FIELD(POZ), FIELD(NAME1), FIELD(NAME2), FIELD(var_type), FIELD(val_desc), FIELD(ALARM),
            FIELD(SELF_SECT)}, 48);
    }
    {
        using Record = RV_NUMBER;
        expectInOrder("RV_NUMBER", {
            FIELD(UNIT), FIELD(MAX), FIELD(MIN), FIELD(TZN), FIELD(TZN2)}, 17);
    }
    {
        using Record = RV_BOOLEAN;
        expectInOrder("RV_BOOLEAN", {
            FIELD(TZN), FIELD(LOGNAME0), FIELD(COLOR0), FIELD(LOGNAME1), FIELD(COLOR1),
            FIELD(KOP)}, 6);
    }
    // clang-format on
#undef FIELD
}

}  // namespace
