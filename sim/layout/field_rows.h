#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "sim/layout/types.h"

namespace sim {

/// Storage kinds of the attribute files.
enum class Storage : std::uint8_t { bit = 0, byte = 1, word = 2, real = 3, text = 6 };

/// Size in bytes of one element. The string of the HI string layout is the one text that takes 17
/// bytes under the same kind.
constexpr std::size_t elementSize(Storage storage) {
    switch (storage) {
        case Storage::word:
            return 2;
        case Storage::real:
            return 4;
        case Storage::text:
            return 9;
        default:
            return 1;
    }
}

/// One field of a passport record, or a run of equal fields (array elements, bits of a byte). The
/// records, the attribute files and docs/attributes.md are generated from these rows.
struct FieldRow {
    TypeCode type;
    std::uint16_t number;  // of the first attribute; 0: the field has none
    std::string_view name;
    std::uint16_t offset;  // bytes from the start of the record
    Storage storage;
    std::uint8_t bit;     // first bit, for Storage::bit
    std::uint8_t repeat;  // attributes in the run
    std::string_view meaning;
};

// Numbers follow the order of the fields from 1. Status bits come after the last field, at numbers
// that may be exported; DI 27 is the only bit among the fields.
// clang-format off
inline constexpr auto kFieldRows = [] {
    using enum TypeCode;
    using enum Storage;
    return std::to_array<FieldRow>({
    {VA,  1, "NKAN",        0, byte, 0, 1, "channel of the I/O line"},
    {VA,  2, "NUSO",        1, byte, 0, 1, "I/O station"},
    {VA,  3, "NPLT",        2, byte, 0, 1, "board in the station"},
    {VA,  4, "N_INPUT",     3, byte, 0, 1, "input on the board"},
    {VA,  5, "POZ",         4, text, 0, 1, "position designation"},
    {VA,  6, "NAME1",      13, text, 0, 1, "name, first half"},
    {VA,  7, "NAME2",      22, text, 0, 1, "name, second half, with the unit"},
    {VA,  8, "UNIT",       31, byte, 0, 1, "unit code, see simulator.md"},
    {VA,  9, "PP",         32, byte, 0, 1, "decimals shown"},
    {VA, 10, "LIN",        33, byte, 0, 1, "linearisation, 0 linear"},
    {VA, 11, "NSHK",       34, real, 0, 1, "start of the scale"},
    {VA, 12, "KSHK",       38, real, 0, 1, "end of the scale"},
    {VA, 13, "NPG",        42, real, 0, 1, "low warning limit"},
    {VA, 14, "VPG",        46, real, 0, 1, "high warning limit"},
    {VA, 15, "NAG",        50, real, 0, 1, "low alarm limit"},
    {VA, 16, "VAG",        54, real, 0, 1, "high alarm limit"},
    {VA, 17, "GST",        58, real, 0, 1, "hysteresis of the limits"},
    {VA, 18, "TSK",        62, real, 0, 1, "period of the rate check, s"},
    {VA, 19, "SK_UP",      66, real, 0, 1, "permitted rise, units/s"},
    {VA, 20, "SK_DOWN",    70, real, 0, 1, "permitted fall, units/s"},
    {VA, 21, "FLT",        74, real, 0, 1, "filter time, s"},
    {VA, 22, "SKD",        78, real, 0, 1, "standard deviation of the noise"},
    {VA, 23, "DST",        82, byte, 0, 1, "reliability of the value, 1 reliable"},
    {VA, 24, "WorkVAL",    83, real, 0, 1, "value before the filter"},
    {VA, 25, "OTS",        87, real, 0, 1, "offset added to the value"},
    {VA, 26, "NTR",        91, real, 0, 1, "start of the trend scale"},
    {VA, 27, "KTR",        95, real, 0, 1, "end of the trend scale"},
    {VA, 28, "TZV",        99, real, 0, 1, "value of the previous cycle"},
    {VA, 29, "TZN",       103, real, 0, 1, "current value"},
    {VA, 30, "ZAPRET",    107, byte, 0, 1, "inhibits, see bits 0 and 1"},
    {VA, 31, "STATUS1",   108, byte, 0, 1, "status, see its bits"},
    {VA, 32, "STATUS2",   109, byte, 0, 1, "second status byte"},
    {VA, 33, "ALARM",     110, byte, 0, 1, "alarms, see its bits"},
    {VA, 34, "DIAGN",     111, byte, 0, 1, "diagnostics of the channel"},
    {VA, 35, "SELF_SECT", 112, byte, 0, 1, "section of the plant"},
    {VA,  0, "justify",   113, byte, 0, 1, "fills the record"},
    {VA, 36, "ZAPRET.0",  107, bit,  0, 1, "scan off: written data stay"},
    {VA, 37, "ZAPRET.1",  107, bit,  1, 1, "alarms inhibited"},
    {VA, 38, "STATUS1.0", 108, bit,  0, 1, "sensor fault"},
    {VA, 39, "STATUS1.1", 108, bit,  1, 1, "below the low alarm limit"},
    {VA, 40, "STATUS1.2", 108, bit,  2, 1, "below the low warning limit"},
    {VA, 41, "STATUS1.3", 108, bit,  3, 1, "above the high warning limit"},
    {VA, 42, "STATUS1.4", 108, bit,  4, 1, "above the high alarm limit"},
    {VA, 43, "STATUS1.5", 108, bit,  5, 1, "outside the scale"},
    {VA, 44, "STATUS1.6", 108, bit,  6, 1, "scan is off"},
    {VA, 45, "STATUS1.7", 108, bit,  7, 1, "value is reliable"},
    {VA, 46, "STATUS2",   109, bit,  0, 8, "not used"},
    {VA, 54, "ALARM.0",   110, bit,  0, 1, "warning"},
    {VA, 55, "ALARM.1",   110, bit,  1, 1, "alarm"},
    {VA, 56, "ALARM",     110, bit,  2, 6, "not used"},
    {VA, 62, "DIAGN.0",   111, bit,  0, 1, "line broken"},

    {AV,  1, "NKAN",        0, byte, 0, 1, "channel of the I/O line"},
    {AV,  2, "NUSO",        1, byte, 0, 1, "I/O station"},
    {AV,  3, "NPLT",        2, byte, 0, 1, "board in the station"},
    {AV,  4, "NOUT",        3, byte, 0, 1, "output on the board"},
    {AV,  5, "POZ",         4, text, 0, 1, "position designation"},
    {AV,  6, "NAME1",      13, text, 0, 1, "name, first half"},
    {AV,  7, "NAME2",      22, text, 0, 1, "name, second half"},
    {AV,  8, "POZP.type",  31, byte, 0, 1, "type of the process variable, 1 VA"},
    {AV,  9, "POZP.index", 32, word, 0, 1, "its number"},
    {AV, 10, "POZD.type",  34, byte, 0, 1, "type of the set point, 3 HI"},
    {AV, 11, "POZD.index", 35, word, 0, 1, "its number"},
    {AV, 12, "PUW.type",   37, byte, 0, 1, "link of the mode switch: type"},
    {AV, 13, "PUW.index",  38, word, 0, 1, "link of the mode switch: number"},
    {AV, 14, "PAU.type",   40, byte, 0, 1, "link of the start permit: type"},
    {AV, 15, "PAU.index",  41, word, 0, 1, "link of the start permit: number"},
    {AV, 16, "WIM.type",   43, byte, 0, 1, "link of the position feedback: type"},
    {AV, 17, "WIM.index",  44, word, 0, 1, "link of the position feedback: number"},
    {AV, 18, "IMW.type",   46, byte, 0, 1, "link of the cascade output: type"},
    {AV, 19, "IMW.index",  47, word, 0, 1, "link of the cascade output: number"},
    {AV, 20, "PP",         49, byte, 0, 1, "decimals shown"},
    {AV, 21, "ZD",         50, real, 0, 1, "set point in use"},
    {AV, 22, "ZPM",        54, real, 0, 1, "dead zone around the set point"},
    {AV, 23, "KP",         58, real, 0, 1, "gain, % per unit"},
    {AV, 24, "T",          62, real, 0, 1, "integration time, s"},
    {AV, 25, "KD",         66, real, 0, 1, "derivative gain"},
    {AV, 26, "NEC",        70, real, 0, 1, "start of the signal's scale"},
    {AV, 27, "KNEC",       74, real, 0, 1, "end of the signal's scale"},
    {AV, 28, "TCP",        78, real, 0, 1, "time constant of the plant, s"},
    {AV, 29, "TCO",        82, real, 0, 1, "dead time of the plant, s"},
    {AV, 30, "MAX",        86, real, 0, 1, "upper limit of the output, %"},
    {AV, 31, "MIN",        90, real, 0, 1, "lower limit of the output, %"},
    {AV, 32, "SMAX",       94, real, 0, 1, "upper limit of the set point"},
    {AV, 33, "SMIN",       98, real, 0, 1, "lower limit of the set point"},
    {AV, 34, "TKT",       102, real, 0, 1, "period of the controller, s"},
    {AV, 35, "KL",        106, byte, 0, 1, "control law, 2 PI"},
    {AV, 36, "TKL",       107, word, 0, 1, "stroke time of the drive, s"},
    {AV,  0, "reserved",  109, word, 0, 1, "not used"},
    {AV, 37, "KF",        111, real, 0, 1, "filter of the process variable"},
    {AV, 38, "SIM",       115, real, 0, 1, "output of the model"},
    {AV, 39, "PRM",       119, real, 0, 1, "process variable"},
    {AV, 40, "PRD",       123, real, 0, 1, "process variable of the previous cycle"},
    {AV, 41, "ZDD",       127, real, 0, 1, "set point of the previous cycle"},
    {AV, 42, "ZDP",       131, real, 0, 1, "set point, % of the scale"},
    {AV, 43, "PZD",       135, real, 0, 1, "process variable, % of the scale"},
    {AV, 44, "RSS",       139, real, 0, 1, "control error"},
    {AV, 45, "RSSP",      143, real, 0, 1, "control error of the previous cycle"},
    {AV, 46, "RSSN",      147, real, 0, 4, "control errors of the last cycles"},
    {AV, 50, "IMP",       163, real, 0, 1, "output of the previous cycle, %"},
    {AV, 51, "IM",        167, real, 0, 1, "output, %; the value of the variable"},
    {AV, 52, "IMR",       171, real, 0, 1, "output in manual mode, %"},
    {AV, 53, "TRU",       175, byte, 0, 2, "not used"},
    {AV, 55, "TRVS",      177, byte, 0, 2, "not used"},
    {AV, 57, "DIM",       179, real, 0, 1, "change of the output in this cycle, %"},
    {AV, 58, "PIM",       183, real, 0, 1, "proportional share of the change, %"},
    {AV, 59, "SRSS",      187, real, 0, 1, "mean square of the control error"},
    {AV, 60, "FOR",       191, byte, 0, 1, "not used"},
    {AV, 61, "TR",        192, byte, 0, 1, "not used"},
    {AV, 62, "SCT1",      193, byte, 0, 1, "not used"},
    {AV, 63, "SCT2",      194, byte, 0, 1, "not used"},
    {AV, 64, "STATUS1",   195, byte, 0, 1, "status, see its bits"},
    {AV, 65, "STATUS2",   196, byte, 0, 1, "not used"},
    {AV, 66, "STATUS3",   197, byte, 0, 1, "not used"},
    {AV, 67, "STATUS4",   198, byte, 0, 1, "not used"},
    {AV, 68, "STATUS5",   199, byte, 0, 1, "not used"},
    {AV, 69, "STATUS6",   200, byte, 0, 1, "not used"},
    {AV, 70, "ALARM",     201, byte, 0, 1, "1 when the process variable is bad"},
    {AV, 71, "SELF_SECT", 202, byte, 0, 1, "section of the plant"},
    {AV,  0, "justify",   203, byte, 0, 1, "fills the record"},
    {AV, 72, "STATUS1.0", 195, bit,  0, 1, "manual mode: the output follows IMR"},
    {AV, 73, "STATUS1.1", 195, bit,  1, 1, "output at its upper limit"},
    {AV, 74, "STATUS1.2", 195, bit,  2, 1, "output at its lower limit"},
    {AV, 75, "STATUS1.3", 195, bit,  3, 1, "output held: process variable is bad"},
    {AV, 76, "STATUS1",   195, bit,  4, 4, "not used"},
    {AV, 80, "STATUS2",   196, bit,  0, 8, "not used"},
    {AV, 88, "STATUS3",   197, bit,  0, 8, "not used"},
    {AV, 96, "STATUS4",   198, bit,  0, 8, "not used"},
    {AV,104, "STATUS5",   199, bit,  0, 8, "not used"},
    {AV,112, "STATUS6",   200, bit,  0, 8, "not used"},

    {HI,  1, "POZ",         0, text, 0, 1, "position designation"},
    {HI,  2, "NAME1",       9, text, 0, 1, "name, first half"},
    {HI,  3, "NAME2",      18, text, 0, 1, "name, second half"},
    {HI,  4, "var_type",   27, byte, 0, 1, "0 number, 1 string, 2 boolean"},
    {HI,  5, "number.UNIT",28, byte, 0, 1, "number: unit code"},
    {HI,  6, "number.MAX", 29, real, 0, 1, "number: upper limit"},
    {HI,  7, "number.MIN", 33, real, 0, 1, "number: lower limit"},
    {HI,  8, "number.TZN", 37, real, 0, 1, "number: current value"},
    {HI,  9, "number.TZN2",41, real, 0, 1, "number: value of the previous cycle"},
    {HI, 10, "ALARM",      46, byte, 0, 1, "1 when the value was cut to its limits"},
    {HI, 11, "SELF_SECT",  47, byte, 0, 1, "section of the plant"},
    {HI, 12, "string.TZN", 28, text, 0, 1, "string: current value, 17 bytes"},
    {HI, 13, "string.COLOR",45,byte, 0, 1, "string: colour"},
    {HI, 14, "boolean.TZN",28, byte, 0, 1, "boolean: current value, 0 or 1"},
    {HI, 15, "boolean.LOGNAME0",29,byte,0,1, "boolean: text of state 0"},
    {HI, 16, "boolean.COLOR0",30,byte,0, 1, "boolean: colour of state 0"},
    {HI, 17, "boolean.LOGNAME1",31,byte,0,1, "boolean: text of state 1"},
    {HI, 18, "boolean.COLOR1",32,byte,0, 1, "boolean: colour of state 1"},
    {HI,  0, "boolean.KOP",33, byte, 0, 1, "boolean: kind of the switch"},

    {DI,  1, "NKAN",        0, byte, 0, 1, "channel of the I/O line"},
    {DI,  2, "NUSO",        1, byte, 0, 1, "I/O station"},
    {DI,  3, "NPLT",        2, byte, 0, 1, "board in the station"},
    {DI,  4, "N_INPUT",     3, byte, 0, 1, "input on the board"},
    {DI,  5, "POZ",         4, text, 0, 1, "position designation"},
    {DI,  6, "NAME1",      13, text, 0, 1, "name, first half"},
    {DI,  7, "NAME2",      22, text, 0, 1, "name, second half"},
    {DI,  8, "COLOR0",     31, byte, 0, 1, "colour of state 0"},
    {DI,  9, "LOGNAME0",   32, byte, 0, 1, "text of state 0"},
    {DI, 10, "COLOR1",     33, byte, 0, 1, "colour of state 1"},
    {DI, 11, "LOGNAME1",   34, byte, 0, 1, "text of state 1"},
    {DI, 12, "KOP",        35, byte, 0, 1, "kind of the contact"},
    {DI, 13, "INVERS",     36, byte, 0, 1, "1: the state is the inverted data"},
    {DI, 14, "REG1",       37, byte, 0, 1, "journal the change to 1"},
    {DI, 15, "REG0",       38, byte, 0, 1, "journal the change to 0"},
    {DI, 16, "SGN0",       39, byte, 0, 1, "state 0 is an alarm"},
    {DI, 17, "SGN1",       40, byte, 0, 1, "state 1 is an alarm"},
    {DI, 18, "TYP_SGN",    41, byte, 0, 1, "kind of the alarm"},
    {DI, 19, "ZZP",        42, byte, 0, 1, "not used"},
    {DI, 20, "_ZZP",       43, byte, 0, 1, "not used"},
    {DI, 21, "ROZD",       44, byte, 0, 1, "not used"},
    {DI, 22, "SGN_Z",      45, byte, 0, 1, "not used"},
    {DI, 23, "TIM1",       46, byte, 0, 1, "delay of the change to 1, cycles"},
    {DI, 24, "TIM0",       47, byte, 0, 1, "delay of the change to 0, cycles"},
    {DI, 25, "STATUS1",    48, byte, 0, 1, "status, see its bits"},
    {DI, 26, "STATUS2",    49, byte, 0, 1, "second status byte"},
    {DI, 27, "STATUS1.0",  48, bit,  0, 1, "current state"},
    {DI, 28, "ALARM",      50, byte, 0, 1, "1 while the state is an alarm"},
    {DI, 29, "SELF_SECT",  51, byte, 0, 1, "section of the plant"},
    {DI, 30, "typevar",    52, byte, 0, 1, "type of the related variable"},
    {DI, 31, "indvar",     53, word, 0, 1, "its number"},
    {DI,  0, "justify",    55, byte, 0, 1, "fills the record"},
    {DI, 32, "STATUS1.1",  48, bit,  1, 1, "scan off: written data stay"},
    {DI, 33, "STATUS1.2",  48, bit,  2, 1, "contact fault"},
    {DI, 34, "STATUS1.3",  48, bit,  3, 1, "alarm"},
    {DI, 35, "STATUS1",    48, bit,  4, 4, "not used"},
    {DI, 39, "STATUS2",    49, bit,  0, 3, "not used"},

    {DO,  1, "NKAN",        0, byte, 0, 1, "channel of the I/O line"},
    {DO,  2, "NUSO",        1, byte, 0, 1, "I/O station"},
    {DO,  3, "TUSO",        2, byte, 0, 1, "kind of the station"},
    {DO,  4, "NPLT",        3, byte, 0, 1, "board in the station"},
    {DO,  5, "N_OUTPUT",    4, byte, 0, 1, "output on the board"},
    {DO,  6, "POZ",         5, text, 0, 1, "position designation"},
    {DO,  7, "NAME1",      14, text, 0, 1, "name, first half"},
    {DO,  8, "NAME2",      23, text, 0, 1, "name, second half"},
    {DO,  9, "COLOR0",     32, byte, 0, 1, "colour of state 0"},
    {DO, 10, "LOGNAME0",   33, byte, 0, 1, "text of state 0"},
    {DO, 11, "COLOR1",     34, byte, 0, 1, "colour of state 1"},
    {DO, 12, "LOGNAME1",   35, byte, 0, 1, "text of state 1"},
    {DO, 13, "KOP",        36, byte, 0, 1, "kind of the contact"},
    {DO, 14, "INVERS",     37, byte, 0, 1, "1: the contact is inverted"},
    {DO, 15, "REG1",       38, byte, 0, 1, "journal the change to 1"},
    {DO, 16, "REG0",       39, byte, 0, 1, "journal the change to 0"},
    {DO, 17, "RVS",        40, byte, 0, 1, "not used"},
    {DO, 18, "ZDR",        41, byte, 0, 1, "delay, cycles"},
    {DO, 19, "ZDA",        42, byte, 0, 1, "not used"},
    {DO, 20, "OUT",        43, byte, 0, 1, "command in force"},
    {DO, 21, "DU",         44, byte, 0, 1, "remote control"},
    {DO, 22, "PLU",        45, byte, 0, 1, "not used"},
    {DO, 23, "MU",         46, byte, 0, 1, "local control"},
    {DO, 24, "TIME",       47, byte, 0, 1, "length of the pulse, s; 0 steady"},
    {DO, 25, "STATUS1",    48, byte, 0, 1, "status, see its bits"},
    {DO, 26, "STATUS2",    49, byte, 0, 1, "second status byte"},
    {DO, 27, "ALARM",      50, byte, 0, 1, "1 when the feedback contradicts the command"},
    {DO, 28, "SELF_SECT",  51, byte, 0, 1, "section of the plant"},
    {DO, 29, "typevar1",   52, byte, 0, 1, "type of the first feedback, 4 DI"},
    {DO, 30, "indvar1",    53, word, 0, 1, "its number"},
    {DO, 31, "typevar2",   55, byte, 0, 1, "type of the second feedback"},
    {DO, 32, "indvar2",    56, word, 0, 1, "its number"},
    {DO, 33, "STATUS1.0",  48, bit,  0, 1, "output is on"},
    {DO, 34, "STATUS1.1",  48, bit,  1, 1, "feedback contradicts the command"},
    {DO, 35, "STATUS1",    48, bit,  2, 6, "not used"},
    {DO, 41, "STATUS2",    49, bit,  0, 8, "not used"},
    });
}();
// clang-format on

}  // namespace sim
