#include "lib/bd_vesk/passports.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "lib/bd_vesk/bdmessages.h"
#include "lib/bd_vesk/bdvstype.h"

namespace {

/// Letter of a field's element: what other programs would read there.
template <class T>
constexpr char letter() {
    if constexpr (std::is_array_v<T>) return letter<std::remove_extent_t<T>>();
    if constexpr (std::is_same_v<T, char>) return 'c';
    if constexpr (std::is_same_v<T, std::uint8_t>) return 'b';
    if constexpr (std::is_same_v<T, std::int16_t>) return 's';
    if constexpr (std::is_same_v<T, std::uint16_t>) return 'w';
    if constexpr (std::is_same_v<T, std::uint32_t>) return 'u';
    if constexpr (std::is_same_v<T, float>) return 'f';
    if constexpr (std::is_same_v<T, POZITION_TYPE>) return 'p';
    return '?';
}

struct Field {
    const char* name;
    std::size_t offset;  // by name
    std::size_t size;
    char kind;
};

#define FIELD(Record, field) \
    { #field, offsetof(Record, field), sizeof(Record::field), letter < decltype(Record::field)>() }

struct Row {
    const char* record;
    std::vector<Field> fields;   // in the order of the controller's documents
    const char* expectedLayout;  // "offset letter count", in the same order
};

std::string layoutOf(const Row& row) {
    std::string text;
    for (const Field& field : row.fields) {
        const std::size_t element = std::string("cb").find(field.kind) != std::string::npos   ? 1
                                    : std::string("sw").find(field.kind) != std::string::npos ? 2
                                    : field.kind == 'p'                                       ? 3
                                                                                              : 4;
        text += std::to_string(field.offset) + field.kind;
        if (field.size != element) text += std::to_string(field.size / element);
        text += ' ';
    }
    return text;
}

// clang-format off
#define F(field) FIELD(ANALOG, field)
const Row kVa{"ANALOG", {
    F(NKAN), F(NUSO), F(NPLT), F(N_INPUT), F(POZ), F(NAME1), F(NAME2), F(UNIT), F(PP), F(LIN),
    F(NSHK), F(KSHK), F(NPG), F(VPG), F(NAG), F(VAG), F(GST), F(TSK), F(SK_UP), F(SK_DOWN),
    F(FLT), F(SKD), F(DST), F(WorkVAL), F(OTS), F(NTR), F(KTR), F(TZV), F(TZN), F(ZAPRET),
    F(STATUS1), F(STATUS2), F(ALARM), F(DIAGN), F(SELF_SECT), F(justify)},
    "0c 1c 2c 3c 4c9 13c9 22c9 31c 32c 33c 34f 38f 42f 46f 50f 54f 58f 62f 66f 70f 74f 78f 82c "
    "83f 87f 91f 95f 99f 103f 107b 108b 109b 110b 111b 112b 113c "};
#undef F
#define F(field) FIELD(ANALOG_OUT, field)
const Row kAv{"ANALOG_OUT", {
    F(NKAN), F(NUSO), F(NPLT), F(NOUT), F(POZ), F(NAME1), F(NAME2), F(POZP), F(POZD), F(PUW),
    F(PAU), F(WIM), F(IMW), F(PP), F(ZD), F(ZPM), F(KP), F(T), F(KD), F(NEC), F(KNEC), F(TCP),
    F(TCO), F(MAX), F(MIN), F(SMAX), F(SMIN), F(TKT), F(KL), F(TKL), F(reserved), F(KF), F(SIM),
    F(PRM), F(PRD), F(ZDD), F(ZDP), F(PZD), F(RSS), F(RSSP), F(RSSN), F(IMP), F(IM), F(IMR),
    F(TRU), F(TRVS), F(DIM), F(PIM), F(SRSS), F(FOR), F(TR), F(SCT1), F(SCT2), F(STATUS1),
    F(STATUS2), F(STATUS3), F(STATUS4), F(STATUS5), F(STATUS6), F(ALARM), F(SELF_SECT),
    F(justify)},
    "0c 1c 2c 3c 4c9 13c9 22c9 31p 34p 37p 40p 43p 46p 49c 50f 54f 58f 62f 66f 70f 74f 78f 82f "
    "86f 90f 94f 98f 102f 106c 107w 109w 111f 115f 119f 123f 127f 131f 135f 139f 143f 147f4 "
    "163f 167f 171f 175c2 177c2 179f 183f 187f 191c 192c 193c 194c 195c 196c 197c 198c 199c "
    "200c 201c 202c 203c "};
#undef F
#define F(field) FIELD(DIS_FV, field)
const Row kDi{"DIS_FV", {
    F(NKAN), F(NUSO), F(NPLT), F(N_INPUT), F(POZ), F(NAME1), F(NAME2), F(COLOR0), F(LOGNAME0),
    F(COLOR1), F(LOGNAME1), F(KOP), F(INVERS), F(REG1), F(REG0), F(SGN0), F(SGN1), F(TYP_SGN),
    F(ZZP), F(_ZZP), F(ROZD), F(SGN_Z), F(TIM1), F(TIM0), F(STATUS1), F(STATUS2), F(ALARM),
    F(SELF_SECT), F(typevar), F(indvar), F(justify)},
    "0c 1c 2c 3c 4c9 13c9 22c9 31c 32c 33c 34c 35c 36c 37c 38c 39c 40c 41c 42c 43c 44c 45c 46c "
    "47c 48c 49c 50c 51c 52b 53s 55c "};
#undef F
#define F(field) FIELD(DIS_OUT, field)
const Row kDout{"DIS_OUT", {
    F(NKAN), F(NUSO), F(TUSO), F(NPLT), F(N_OUTPUT), F(POZ), F(NAME1), F(NAME2), F(COLOR0),
    F(LOGNAME0), F(COLOR1), F(LOGNAME1), F(KOP), F(INVERS), F(REG1), F(REG0), F(RVS), F(ZDR),
    F(ZDA), F(OUT), F(DU), F(PLU), F(MU), F(TIME), F(STATUS1), F(STATUS2), F(ALARM),
    F(SELF_SECT), F(typevar1), F(indvar1), F(typevar2), F(indvar2)},
    "0c 1c 2c 3c 4c 5c9 14c9 23c9 32c 33c 34c 35c 36c 37c 38c 39c 40c 41c 42c 43c 44c 45c 46c "
    "47c 48c 49c 50c 51c 52b 53s 55b 56s "};
#undef F
#define F(Record, field) FIELD(Record, field)
const Row kHi{"HAND_INP", {
    F(HAND_INP, POZ), F(HAND_INP, NAME1), F(HAND_INP, NAME2), F(HAND_INP, var_type),
    F(HAND_INP, ALARM), F(HAND_INP, SELF_SECT)},
    "0c9 9c9 18c9 27c 46c 47c "};
const Row kHiValues{"RV_NUMBER, RV_STRING, RV_BOOLEAN", {
    F(RV_NUMBER, UNIT), F(RV_NUMBER, MAX), F(RV_NUMBER, MIN), F(RV_NUMBER, TZN),
    F(RV_NUMBER, TZN2), F(RV_STRING, TZN), F(RV_STRING, COLOR), F(RV_BOOLEAN, TZN),
    F(RV_BOOLEAN, LOGNAME0), F(RV_BOOLEAN, COLOR0), F(RV_BOOLEAN, LOGNAME1),
    F(RV_BOOLEAN, COLOR1), F(RV_BOOLEAN, KOP)},
    "0c 1f 5f 9f 13f 0c17 17c 0c 1c 2c 3c 4c 5c "};
const Row kOthers{"POZITION_TYPE, messages", {
    F(POZITION_TYPE, type), F(POZITION_TYPE, index), F(SVariable, type), F(SVariable, num),
    F(SVariable, num_atr), F(DB_REQUEST, command), F(DB_REQUEST, type), F(DB_REPLY, count),
    F(DB_REPLY, type)},
    "0b 1w 0b 1w 3w 0u 4u 16u 32u "};
#undef F
// clang-format on

TEST(Passports, FieldsLieWhereTheControllerHasThem) {
    for (const Row* row : {&kVa, &kAv, &kDi, &kDout, &kHi, &kHiValues, &kOthers}) {
        SCOPED_TRACE(row->record);
        EXPECT_EQ(layoutOf(*row), row->expectedLayout);
    }
}

template <class T>
T fromBytes(const std::vector<std::uint8_t>& bytes) {
    T record;
    EXPECT_EQ(bytes.size(), sizeof(T));
    std::memcpy(&record, bytes.data(), sizeof(T));
    return record;
}

TEST(Passports, BytesOfAnotherProgramReadByName) {
    std::vector<std::uint8_t> bytes(114);
    const float half = -0.5F;  // BF 00 00 00
    bytes[37] = 0xBF;
    bytes[108] = 0x81;
    std::memcpy(&bytes[4], "TE-1\0", 5);
    const auto va = fromBytes<ANALOG>(bytes);
    EXPECT_EQ(static_cast<float>(va.NSHK), half);
    EXPECT_EQ(static_cast<float>(va.KSHK), 0.0F);
    EXPECT_EQ(static_cast<int>(va.STATUS1), 0x81);
    EXPECT_STREQ(va.POZ, "TE-1");

    bytes.assign(204, 0);
    bytes[31] = 4;
    bytes[32] = 0x34;
    bytes[33] = 0x12;
    bytes[150] = 0x40;  // RSSN[0] = 2.0
    const auto av = fromBytes<ANALOG_OUT>(bytes);
    EXPECT_EQ(static_cast<int>(av.POZP.type), 4);
    EXPECT_EQ(static_cast<int>(av.POZP.index), 0x1234);
    EXPECT_EQ(static_cast<float>(av.RSSN[0]), 2.0F);

    bytes.assign(48, 0);
    bytes[27] = 1;
    std::memcpy(&bytes[28], "seventeen letters", 17);
    bytes[45] = 9;
    const auto hi = fromBytes<HAND_INP>(bytes);
    EXPECT_EQ(hi.var_type, 1);
    EXPECT_EQ(std::string(hi.val_desc.string.TZN, 17), "seventeen letters");
    EXPECT_EQ(hi.val_desc.string.COLOR, 9);

    bytes.assign(58, 0);
    bytes[56] = 0xFE;
    bytes[57] = 0xFF;
    EXPECT_EQ(static_cast<int>(fromBytes<DIS_OUT>(bytes).indvar2), -2);
    bytes.assign(56, 0);
    bytes[54] = 0x80;
    EXPECT_EQ(static_cast<int>(fromBytes<DIS_FV>(bytes).indvar), -32768);
}

}  // namespace
