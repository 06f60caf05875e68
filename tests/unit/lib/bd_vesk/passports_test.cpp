#include "lib/bd_vesk/passports.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <utility>
#include <vector>

namespace {

/// Offset and size of each field, in the order of the controller's documents. With the offsets that
/// passports.h asserts where the type changes, a field out of its place breaks the row.
using Fields = std::vector<std::pair<std::size_t, std::size_t>>;

void expectInOrder(const char* record, std::size_t size, const Fields& fields) {
    std::size_t end = 0;
    for (std::size_t i = 0; i < fields.size(); ++i) {
        EXPECT_EQ(fields[i].first, end) << record << " field " << i;
        end += fields[i].second;
    }
    EXPECT_EQ(end, size) << record;
}

// Fields of a record from their names, 64 at most: a macro names itself again only when the text
// that it left is read anew.
#define EXPECT_IN_ORDER(Record, size, ...) \
    expectInOrder(#Record, size, {READ_64(FIELDS(Record, __VA_ARGS__))})
#define FIELDS(Record, field, ...)                    \
    {offsetof(Record, field), sizeof(Record::field)}, \
        __VA_OPT__(FIELDS_AGAIN PARENS(Record, __VA_ARGS__))
#define FIELDS_AGAIN() FIELDS
#define PARENS ()
#define READ_64(...) READ_16(READ_16(READ_16(READ_16(__VA_ARGS__))))
#define READ_16(...) READ_4(READ_4(READ_4(READ_4(__VA_ARGS__))))
#define READ_4(...) READ(READ(READ(READ(__VA_ARGS__))))
#define READ(...) __VA_ARGS__

TEST(Passports, FieldsStandInTheControllersOrder) {
    EXPECT_IN_ORDER(ANALOG, 114, NKAN, NUSO, NPLT, N_INPUT, POZ, NAME1, NAME2, UNIT, PP, LIN, NSHK,
                    KSHK, NPG, VPG, NAG, VAG, GST, TSK, SK_UP, SK_DOWN, FLT, SKD, DST, WorkVAL, OTS,
                    NTR, KTR, TZV, TZN, ZAPRET, STATUS1, STATUS2, ALARM, DIAGN, SELF_SECT, justify);
    EXPECT_IN_ORDER(ANALOG_OUT, 204, NKAN, NUSO, NPLT, NOUT, POZ, NAME1, NAME2, POZP, POZD, PUW,
                    PAU, WIM, IMW, PP, ZD, ZPM, KP, T, KD, NEC, KNEC, TCP, TCO, MAX, MIN, SMAX,
                    SMIN, TKT, KL, TKL, reserved, KF, SIM, PRM, PRD, ZDD, ZDP, PZD, RSS, RSSP, RSSN,
                    IMP, IM, IMR, TRU, TRVS, DIM, PIM, SRSS, FOR, TR, SCT1, SCT2, STATUS1, STATUS2,
                    STATUS3, STATUS4, STATUS5, STATUS6, ALARM, SELF_SECT, justify);
    EXPECT_IN_ORDER(DIS_FV, 56, NKAN, NUSO, NPLT, N_INPUT, POZ, NAME1, NAME2, COLOR0, LOGNAME0,
                    COLOR1, LOGNAME1, KOP, INVERS, REG1, REG0, SGN0, SGN1, TYP_SGN, ZZP, _ZZP, ROZD,
                    SGN_Z, TIM1, TIM0, STATUS1, STATUS2, ALARM, SELF_SECT, typevar, indvar,
                    justify);
    EXPECT_IN_ORDER(DIS_OUT, 58, NKAN, NUSO, TUSO, NPLT, N_OUTPUT, POZ, NAME1, NAME2, COLOR0,
                    LOGNAME0, COLOR1, LOGNAME1, KOP, INVERS, REG1, REG0, RVS, ZDR, ZDA, OUT, DU,
                    PLU, MU, TIME, STATUS1, STATUS2, ALARM, SELF_SECT, typevar1, indvar1, typevar2,
                    indvar2);
    EXPECT_IN_ORDER(HAND_INP, 48, POZ, NAME1, NAME2, var_type, val_desc, ALARM, SELF_SECT);
    EXPECT_IN_ORDER(RV_NUMBER, 17, UNIT, MAX, MIN, TZN, TZN2);
    EXPECT_IN_ORDER(RV_BOOLEAN, 6, TZN, LOGNAME0, COLOR0, LOGNAME1, COLOR1, KOP);
}

}  // namespace
