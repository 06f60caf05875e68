#pragma once

#include <cstdint>
#include <type_traits>

#include "lib/bd_vesk/layout.h"

// Passport records of the real-time database: the configuration of one variable, in the layout of
// shared memory. The controller's other programs read and write the same bytes, so no field may
// move.
//
// Little-endian, no padding, IEEE 754 single floats; char is a byte, read as unsigned; texts are
// CP866, NUL-terminated when shorter than their field. The number in front of a comment is the byte
// offset.
//
// Fields are unaligned: copy them out, never take their address. There are no locks: a float or an
// int16 that crosses a cache line may be read half old, half new, and a text while it is being
// written.
#pragma pack(push, 1)

struct ANALOG {              // analog input (VA), IPC index 10
    char NKAN;               //   0
    char NUSO;               //   1
    char NPLT;               //   2
    char N_INPUT;            //   3
    char POZ[9];             //   4  position designation: the tag's name
    char NAME1[9];           //  13
    char NAME2[9];           //  22
    char UNIT;               //  31
    char PP;                 //  32
    char LIN;                //  33
    float NSHK;              //  34  lower end of the scale
    float KSHK;              //  38  upper end of the scale
    float NPG;               //  42
    float VPG;               //  46
    float NAG;               //  50
    float VAG;               //  54
    float GST;               //  58
    float TSK;               //  62
    float SK_UP;             //  66
    float SK_DOWN;           //  70
    float FLT;               //  74
    float SKD;               //  78
    char DST;                //  82
    float WorkVAL;           //  83
    float OTS;               //  87
    float NTR;               //  91
    float KTR;               //  95
    float TZV;               //  99
    float TZN;               // 103
    std::uint8_t ZAPRET;     // 107
    std::uint8_t STATUS1;    // 108
    std::uint8_t STATUS2;    // 109
    std::uint8_t ALARM;      // 110
    std::uint8_t DIAGN;      // 111
    std::uint8_t SELF_SECT;  // 112
    char justify;            // 113
};

struct POZITION_TYPE {    // link of an analog output to another variable
    std::uint8_t type;    // 0  database type code
    std::uint16_t index;  // 1
};

struct ANALOG_OUT {          // analog output (AV), IPC index 13
    char NKAN;               //   0
    char NUSO;               //   1
    char NPLT;               //   2
    char NOUT;               //   3
    char POZ[9];             //   4  position designation: the tag's name
    char NAME1[9];           //  13
    char NAME2[9];           //  22
    POZITION_TYPE POZP;      //  31
    POZITION_TYPE POZD;      //  34
    POZITION_TYPE PUW;       //  37
    POZITION_TYPE PAU;       //  40
    POZITION_TYPE WIM;       //  43
    POZITION_TYPE IMW;       //  46
    char PP;                 //  49
    float ZD;                //  50
    float ZPM;               //  54
    float KP;                //  58
    float T;                 //  62
    float KD;                //  66
    float NEC;               //  70
    float KNEC;              //  74
    float TCP;               //  78
    float TCO;               //  82
    float MAX;               //  86
    float MIN;               //  90
    float SMAX;              //  94
    float SMIN;              //  98
    float TKT;               // 102
    char KL;                 // 106
    std::uint16_t TKL;       // 107
    std::uint16_t reserved;  // 109
    float KF;                // 111
    float SIM;               // 115
    float PRM;               // 119
    float PRD;               // 123
    float ZDD;               // 127
    float ZDP;               // 131
    float PZD;               // 135
    float RSS;               // 139
    float RSSP;              // 143
    float RSSN[4];           // 147
    float IMP;               // 163
    float IM;                // 167  both the current data and the current value
    float IMR;               // 171
    char TRU[2];             // 175
    char TRVS[2];            // 177
    float DIM;               // 179
    float PIM;               // 183
    float SRSS;              // 187
    char FOR;                // 191
    char TR;                 // 192
    char SCT1;               // 193
    char SCT2;               // 194
    char STATUS1;            // 195
    char STATUS2;            // 196
    char STATUS3;            // 197
    char STATUS4;            // 198
    char STATUS5;            // 199
    char STATUS6;            // 200
    char ALARM;              // 201
    char SELF_SECT;          // 202
    char justify;            // 203
};

struct RV_NUMBER {  // layout of RV_VALUE for HAND_INP::var_type 0
    char UNIT;      //  0
    float MAX;      //  1
    float MIN;      //  5
    float TZN;      //  9
    float TZN2;     // 13
};

struct RV_STRING {  // layout of RV_VALUE for HAND_INP::var_type 1
    char TZN[17];   //  0
    char COLOR;     // 17
};

struct RV_BOOLEAN {  // layout of RV_VALUE for HAND_INP::var_type 2
    char TZN;        // 0
    char LOGNAME0;   // 1
    char COLOR0;     // 2
    char LOGNAME1;   // 3
    char COLOR1;     // 4
    char KOP;        // 5
};

union RV_VALUE {
    RV_NUMBER number;
    RV_STRING string;
    RV_BOOLEAN boolean;
};

struct HAND_INP {       // manual input (HI), IPC index 14
    char POZ[9];        //  0  position designation: the tag's name
    char NAME1[9];      //  9
    char NAME2[9];      // 18
    char var_type;      // 27  layout of val_desc: 0 number, 1 string, 2 boolean
    RV_VALUE val_desc;  // 28
    char ALARM;         // 46
    char SELF_SECT;     // 47
};

struct DIS_FV {     // discrete input (DI), IPC index 16
    char NKAN;      //  0
    char NUSO;      //  1
    char NPLT;      //  2
    char N_INPUT;   //  3
    char POZ[9];    //  4  position designation: the tag's name
    char NAME1[9];  // 13
    char NAME2[9];  // 22
    char COLOR0;    // 31
    char LOGNAME0;  // 32
    char COLOR1;    // 33
    char LOGNAME1;  // 34
    char KOP;       // 35
    char INVERS;    // 36
    char REG1;      // 37
    char REG0;      // 38
    char SGN0;      // 39
    char SGN1;      // 40
    char TYP_SGN;   // 41
    char ZZP;       // 42
    // NOLINTNEXTLINE(bugprone-reserved-identifier): the field's name in the controller's other code
    char _ZZP;             // 43
    char ROZD;             // 44
    char SGN_Z;            // 45
    char TIM1;             // 46
    char TIM0;             // 47
    char STATUS1;          // 48
    char STATUS2;          // 49
    char ALARM;            // 50
    char SELF_SECT;        // 51
    std::uint8_t typevar;  // 52
    std::int16_t indvar;   // 53
    char justify;          // 55
};

struct DIS_OUT {            // discrete output (DO), IPC index 19
    char NKAN;              //  0
    char NUSO;              //  1
    char TUSO;              //  2
    char NPLT;              //  3
    char N_OUTPUT;          //  4
    char POZ[9];            //  5  position designation: the tag's name
    char NAME1[9];          // 14
    char NAME2[9];          // 23
    char COLOR0;            // 32
    char LOGNAME0;          // 33
    char COLOR1;            // 34
    char LOGNAME1;          // 35
    char KOP;               // 36
    char INVERS;            // 37
    char REG1;              // 38
    char REG0;              // 39
    char RVS;               // 40
    char ZDR;               // 41
    char ZDA;               // 42
    char OUT;               // 43
    char DU;                // 44
    char PLU;               // 45
    char MU;                // 46
    char TIME;              // 47
    char STATUS1;           // 48
    char STATUS2;           // 49
    char ALARM;             // 50
    char SELF_SECT;         // 51
    std::uint8_t typevar1;  // 52
    std::int16_t indvar1;   // 53
    std::uint8_t typevar2;  // 55
    std::int16_t indvar2;   // 56
};

#pragma pack(pop)

VESK_SIZE(ANALOG, 114);
VESK_FIELD(ANALOG, POZ, 4);
VESK_FIELD(ANALOG, UNIT, 31);
VESK_FIELD(ANALOG, NSHK, 34);
VESK_FIELD(ANALOG, KSHK, 38);
VESK_FIELD(ANALOG, DST, 82);
VESK_FIELD(ANALOG, WorkVAL, 83);
VESK_FIELD(ANALOG, TZN, 103);
VESK_FIELD(ANALOG, ZAPRET, 107);
VESK_FIELD(ANALOG, justify, 113);
VESK_IN_ORDER(ANALOG, NKAN, NUSO, NPLT, N_INPUT, POZ, NAME1, NAME2, UNIT, PP, LIN, NSHK, KSHK, NPG,
              VPG, NAG, VAG, GST, TSK, SK_UP, SK_DOWN, FLT, SKD, DST, WorkVAL, OTS, NTR, KTR, TZV,
              TZN, ZAPRET, STATUS1, STATUS2, ALARM, DIAGN, SELF_SECT, justify);
static_assert(std::is_trivially_copyable_v<ANALOG>);

VESK_SIZE(POZITION_TYPE, 3);
VESK_FIELD(POZITION_TYPE, index, 1);
VESK_SIZE(ANALOG_OUT, 204);
VESK_FIELD(ANALOG_OUT, POZ, 4);
VESK_FIELD(ANALOG_OUT, POZP, 31);
VESK_FIELD(ANALOG_OUT, PP, 49);
VESK_FIELD(ANALOG_OUT, ZD, 50);
VESK_FIELD(ANALOG_OUT, KL, 106);
VESK_FIELD(ANALOG_OUT, TKL, 107);
VESK_FIELD(ANALOG_OUT, KF, 111);
VESK_FIELD(ANALOG_OUT, PRM, 119);
VESK_FIELD(ANALOG_OUT, RSSN, 147);
VESK_FIELD(ANALOG_OUT, IM, 167);
VESK_FIELD(ANALOG_OUT, TRU, 175);
VESK_FIELD(ANALOG_OUT, DIM, 179);
VESK_FIELD(ANALOG_OUT, FOR, 191);
VESK_FIELD(ANALOG_OUT, justify, 203);
VESK_IN_ORDER(ANALOG_OUT, NKAN, NUSO, NPLT, NOUT, POZ, NAME1, NAME2, POZP, POZD, PUW, PAU, WIM, IMW,
              PP, ZD, ZPM, KP, T, KD, NEC, KNEC, TCP, TCO, MAX, MIN, SMAX, SMIN, TKT, KL, TKL,
              reserved, KF, SIM, PRM, PRD, ZDD, ZDP, PZD, RSS, RSSP, RSSN, IMP, IM, IMR, TRU, TRVS,
              DIM, PIM, SRSS, FOR, TR, SCT1, SCT2, STATUS1, STATUS2, STATUS3, STATUS4, STATUS5,
              STATUS6, ALARM, SELF_SECT, justify);
static_assert(std::is_trivially_copyable_v<ANALOG_OUT>);

VESK_SIZE(RV_NUMBER, 17);
VESK_FIELD(RV_NUMBER, MAX, 1);
VESK_FIELD(RV_NUMBER, TZN2, 13);
VESK_IN_ORDER(RV_NUMBER, UNIT, MAX, MIN, TZN, TZN2);
VESK_FIELD(RV_STRING, COLOR, 17);
VESK_SIZE(RV_BOOLEAN, 6);
VESK_FIELD(RV_BOOLEAN, KOP, 5);
VESK_IN_ORDER(RV_BOOLEAN, TZN, LOGNAME0, COLOR0, LOGNAME1, COLOR1, KOP);
VESK_SIZE(RV_VALUE, 18);
VESK_SIZE(HAND_INP, 48);
VESK_FIELD(HAND_INP, POZ, 0);
VESK_FIELD(HAND_INP, var_type, 27);
VESK_FIELD(HAND_INP, val_desc, 28);
VESK_FIELD(HAND_INP, ALARM, 46);
VESK_IN_ORDER(HAND_INP, POZ, NAME1, NAME2, var_type, val_desc, ALARM, SELF_SECT);
static_assert(std::is_trivially_copyable_v<HAND_INP>);

VESK_SIZE(DIS_FV, 56);
VESK_FIELD(DIS_FV, POZ, 4);
VESK_FIELD(DIS_FV, COLOR0, 31);
VESK_FIELD(DIS_FV, typevar, 52);
VESK_FIELD(DIS_FV, indvar, 53);
VESK_FIELD(DIS_FV, justify, 55);
VESK_IN_ORDER(DIS_FV, NKAN, NUSO, NPLT, N_INPUT, POZ, NAME1, NAME2, COLOR0, LOGNAME0, COLOR1,
              LOGNAME1, KOP, INVERS, REG1, REG0, SGN0, SGN1, TYP_SGN, ZZP, _ZZP, ROZD, SGN_Z, TIM1,
              TIM0, STATUS1, STATUS2, ALARM, SELF_SECT, typevar, indvar, justify);
static_assert(std::is_trivially_copyable_v<DIS_FV>);

VESK_SIZE(DIS_OUT, 58);
VESK_FIELD(DIS_OUT, POZ, 5);
VESK_FIELD(DIS_OUT, COLOR0, 32);
VESK_FIELD(DIS_OUT, OUT, 43);
VESK_FIELD(DIS_OUT, typevar1, 52);
VESK_FIELD(DIS_OUT, indvar1, 53);
VESK_FIELD(DIS_OUT, typevar2, 55);
VESK_FIELD(DIS_OUT, indvar2, 56);
VESK_IN_ORDER(DIS_OUT, NKAN, NUSO, TUSO, NPLT, N_OUTPUT, POZ, NAME1, NAME2, COLOR0, LOGNAME0,
              COLOR1, LOGNAME1, KOP, INVERS, REG1, REG0, RVS, ZDR, ZDA, OUT, DU, PLU, MU, TIME,
              STATUS1, STATUS2, ALARM, SELF_SECT, typevar1, indvar1, typevar2, indvar2);
static_assert(std::is_trivially_copyable_v<DIS_OUT>);
