#include "sim/plant/tags.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <string>

#include "server/text/Utf8ToCP866Converter.h"

namespace sim {

namespace {

// ---- the rows; "#" is replaced by the number of the boiler ---------------------------------

struct AnalogRow {
    const char *designation, *name1, *name2;
    Unit unit;
    std::uint8_t decimals;
    float scaleLow, scaleHigh, alarmLow, warningLow, warningHigh, alarmHigh, noise;
};

using enum Unit;

// clang-format off
constexpr AnalogRow kBoilerAnalogs[] = {
    {"К#Ргаз",   "Газ К#",   "Р, кПа",    kilopascal,        2,    0,   40,    2,    4,   30,   35, 0.05F},
    {"К#Fгаз",   "Газ К#",   "F, м3/ч",   cubicMetrePerHour, 0,    0,  700,   -1,    5,  600,  650, 1.0F},
    {"К#Рвозд",  "Воздух#",  "Р, кПа",    kilopascal,        2,    0,  2.5F, 0.1F, 0.2F, 2.2F, 2.4F, 0.01F},
    {"К#Разр",   "Разреж.#", "топка,Па",  pascal,            1, -100,   50,  -80,  -60,   -5,    5, 0.4F},
    {"К#Твх",    "Вода К#",  "Твх,°C",    celsius,           1,    0,  150,   30,   45,   90,  100, 0.05F},
    {"К#Твых",   "Вода К#",  "Твых,°C",   celsius,           1,    0,  150,   30,   50,  105,  115, 0.05F},
    {"К#Fвод",   "Вода К#",  "F, т/ч",    tonnePerHour,      0,    0,  200,   40,   60,  170,  190, 0.4F},
    {"К#Рвх",    "Вода К#",  "Рвх,МПа",   megapascal,        3,    0,    1, 0.2F, 0.3F, 0.8F, 0.9F, 0.001F},
    {"К#Рвых",   "Вода К#",  "Рвых,МПа",  megapascal,        3,    0,    1, 0.2F, 0.3F, 0.8F, 0.9F, 0.001F},
    {"К#Тух",    "Дым.газы", "К# Т,°C",   celsius,           0,    0,  300,    0,   20,  200,  220, 0.3F},
    {"К#О2",     "Дым.газы", "К# О2,%",   percent,           1,    0,   25, 0.5F,    1,   22,   23, 0.05F},
    {"К#СО",     "Дым.газы", "К#СО,ppm",  partsPerMillion,   0,    0,  500,   -2,   -1,  100,  200, 1.0F},
    {"К#Факел",  "Факел К#", "ярк.,%",    percent,           0,    0,  100,   -2,   -1,  101,  102, 0.8F},
    {"К#ПолГаз", "Заслонка", "газ К#,%",  percent,           1,    0,  100,   -2,   -1,  101,  102, 0.02F},
    {"К#ПолВоз", "Заслонка", "возд#,%",   percent,           1,    0,  100,   -2,   -1,  101,  102, 0.02F},
    {"К#ПолДым", "Заслонка", "дым К#,%",  percent,           1,    0,  100,   -2,   -1,  101,  102, 0.02F},
    {"К#Iвент",  "Вентил.#", "ток, А",    ampere,            1,    0,  100,   -2,   -1,   70,   80, 0.2F},
    {"К#Iдым",   "Дымосос#", "ток, А",    ampere,            1,    0,  150,   -2,   -1,  110,  120, 0.3F},
};
constexpr AnalogRow kCommonAnalogs[] = {
    {"Тнар",     "Наружный", "возд.,°C",  celsius,           1,  -50,   50,  -45,  -40,   40,   45, 0.05F},
    {"Тпрям",    "Сеть пр.", "Т,°C",      celsius,           1,    0,  150,   30,   40,  100,  110, 0.05F},
    {"Тобр",     "Сеть об.", "Т,°C",      celsius,           1,    0,  150,   20,   30,   75,   85, 0.05F},
    {"Рпрям",    "Сеть пр.", "Р,МПа",     megapascal,        3,    0,    1, 0.2F, 0.3F, 0.8F, 0.9F, 0.001F},
    {"Робр",     "Сеть об.", "Р,МПа",     megapascal,        3,    0,    1, 0.1F,0.18F, 0.4F, 0.5F, 0.0005F},
    {"Fсеть",    "Сеть",     "F, т/ч",    tonnePerHour,      0,    0,  600,   60,  120,  560,  590, 1.2F},
    {"Fподп",    "Подпитка", "F, т/ч",    tonnePerHour,      2,    0,   16,   -2,   -1,   12,   14, 0.03F},
    {"Lбак",     "Бак подп", "уров.,%",   percent,           1,    0,  100,   10,   20,   90,   95, 0.1F},
    {"Тбак",     "Бак подп", "Т,°C",      celsius,           1,    0,  100,    5,   10,   80,   90, 0.05F},
    {"Тгвс",     "ГВС",      "Т,°C",      celsius,           1,    0,  100,   30,   45,   70,   75, 0.05F},
    {"Ргвс",     "ГВС",      "Р,МПа",     megapascal,        3,    0,    1, 0.2F, 0.3F, 0.7F, 0.8F, 0.001F},
    {"Fгвс",     "ГВС",      "F, т/ч",    tonnePerHour,      1,    0,   40,   -2,   -1,   36,   38, 0.1F},
    {"РгазВвод", "Газ ввод", "Р, кПа",    kilopascal,        1,    0,   60,    5,   15,   45,   50, 0.1F},
    {"FгазОбщ",  "Газ ввод", "F, м3/ч",   cubicMetrePerHour, 0,    0, 2000,   -2,   -1, 1700, 1850, 2.0F},
    {"ТгазВвод", "Газ ввод", "Т,°C",      celsius,           1,  -40,   60,  -30,  -20,   40,   50, 0.03F},
    {"Рхол",     "Хол.вода", "Р,МПа",     megapascal,        3,    0,    1, 0.1F, 0.2F, 0.6F, 0.7F, 0.001F},
    {"НС1 ток",  "Насос С1", "ток, А",    ampere,            1,    0,  150,   -2,   -1,  110,  120, 0.4F},
    {"НС2 ток",  "Насос С2", "ток, А",    ampere,            1,    0,  150,   -2,   -1,  110,  120, 0.4F},
    {"НС3 ток",  "Насос С3", "ток, А",    ampere,            1,    0,  150,   -2,   -1,  110,  120, 0.4F},
    {"Тзал",     "Кот. зал", "Т,°C",      celsius,           1,  -20,   60,    5,   10,   35,   40, 0.03F},
    {"CH4-1",    "CH4 зал",  "т.1, %",    percent,           2,    0,    5,   -2,   -1, 0.5F,    1, 0.01F},
    {"CH4-2",    "CH4 зал",  "т.2, %",    percent,           2,    0,    5,   -2,   -1, 0.5F,    1, 0.01F},
    {"CO-1",     "СО зал",   "т.1,мг/м",  milligramPerCubicMetre, 1, 0, 200, -2,   -1,   20,  100, 0.2F},
    {"CO-2",     "СО зал",   "т.2,мг/м",  milligramPerCubicMetre, 1, 0, 200, -2,   -1,   20,  100, 0.2F},
    {"ПолСмес",  "Клапан",   "смеш.,%",   percent,           1,    0,  100,   -2,   -1,  101,  102, 0.02F},
    {"ПолПодп",  "Клапан",   "подп.,%",   percent,           1,    0,  100,   -2,   -1,  101,  102, 0.02F},
};

struct DiscreteRow {
    const char *designation, *name1, *name2;
    std::size_t index;  // BoilerSignal or BoilerDrive, CommonSignal or CommonDrive
    float threshold;
    ContactSource source;
    bool alarmAt1, alarmAt0;
};

using enum ContactSource;
constexpr std::size_t n(BoilerSignal which) { return static_cast<std::size_t>(which); }
constexpr std::size_t n(BoilerDrive which) { return static_cast<std::size_t>(which); }
constexpr std::size_t n(CommonSignal which) { return static_cast<std::size_t>(which); }
constexpr std::size_t n(CommonDrive which) { return static_cast<std::size_t>(which); }

constexpr DiscreteRow kBoilerContactRows[kBoilerContacts] = {
    {"К#Горит",  "Факел К#", "есть",      n(BoilerSignal::flame),          30,   above,    false, true},
    {"К#ГазНиз", "Газ К#",   "Р низкое",  n(BoilerSignal::gasPressure),    2,    below,    true,  false},
    {"К#ГазВыс", "Газ К#",   "Р высок.",  n(BoilerSignal::gasPressure),    35,   above,    true,  false},
    {"К#ВозНиз", "Воздух#",  "Р низкое",  n(BoilerSignal::airPressure),    0.1F, below,    true,  false},
    {"К#РазНиз", "Разреж.#", "мало",      n(BoilerSignal::draft),          -5,   above,    true,  false},
    {"К#РвВыс",  "Вода К#",  "Р высок.",  n(BoilerSignal::pressureOut),    0.9F, above,    true,  false},
    {"К#РвНиз",  "Вода К#",  "Р низкое",  n(BoilerSignal::pressureOut),    0.2F, below,    true,  false},
    {"К#FвНиз",  "Вода К#",  "F низкий",  n(BoilerSignal::waterFlow),      40,   below,    true,  false},
    {"К#ТвВыс",  "Вода К#",  "Т высок.",  n(BoilerSignal::waterOut),       115,  above,    true,  false},
    {"К#КлГотк", "Клап.газ", "К#открыт",  n(BoilerDrive::gasValve),        0,    driveOn,  false, false},
    {"К#КлГзак", "Клап.газ", "К#закрыт",  n(BoilerDrive::gasValve),        0,    driveOff, false, false},
    {"К#Вент",   "Вентил.#", "работает",  n(BoilerDrive::fan),             0,    driveOn,  false, false},
    {"К#Дымос",  "Дымосос#", "работает",  n(BoilerDrive::exhauster),       0,    driveOn,  false, false},
    {"К#Задв",   "Задвижка", "К#открыт",  n(BoilerDrive::waterValve),      0,    driveOn,  false, false},
};
constexpr DiscreteRow kCommonContactRows[kCommonContacts] = {
    {"НС1 раб",  "Насос С1", "работает",  n(CommonDrive::networkPump1),    0,    driveOn,  false, false},
    {"НС2 раб",  "Насос С2", "работает",  n(CommonDrive::networkPump2),    0,    driveOn,  false, false},
    {"НС3 раб",  "Насос С3", "работает",  n(CommonDrive::networkPump3),    0,    driveOn,  false, false},
    {"НП1 раб",  "Насос П1", "работает",  n(CommonDrive::makeupPump1),     0,    driveOn,  false, false},
    {"НП2 раб",  "Насос П2", "работает",  n(CommonDrive::makeupPump2),     0,    driveOn,  false, false},
    {"НГ1 раб",  "Насос Г1", "работает",  n(CommonDrive::hotWaterPump1),   0,    driveOn,  false, false},
    {"НГ2 раб",  "Насос Г2", "работает",  n(CommonDrive::hotWaterPump2),   0,    driveOn,  false, false},
    {"КлГазОтк", "Клап.вв.", "открыт",    n(CommonDrive::gasMain),         0,    driveOn,  false, false},
    {"КлГазЗак", "Клап.вв.", "закрыт",    n(CommonDrive::gasMain),         0,    driveOff, false, false},
    {"МетанАв",  "Метан",    "порог",     n(CommonSignal::methane1),       1,    above,    true,  false},
    {"СО Авар",  "СО",       "порог",     n(CommonSignal::roomMonoxide1),  100,  above,    true,  false},
    {"Пожар",    "Пожар",    "сигнал",    0,                               0,    steady,   true,  false},
    {"Дверь",    "Дверь",    "открыта",   0,                               0,    door,     false, false},
    {"БакНиз",   "Бак подп", "низкий",    n(CommonSignal::tankLevel),      42,   below,    true,  false},
    {"БакВерх",  "Бак подп", "высокий",   n(CommonSignal::tankLevel),      58,   above,    false, false},
    {"Ввод1",    "Питание",  "ввод 1",    0,                               1,    steady,   false, true},
    {"Ввод2",    "Питание",  "ввод 2",    0,                               1,    steady,   false, true},
    {"ИмпГаз",   "Счетчик",  "импульс",   0,                               0,    pulse,    false, false},
};

struct CommandRow {
    const char *designation, *name1, *name2;
    float strokeSeconds;
    std::uint8_t initial;
    std::size_t feedback;  // contact of the boiler, or of what the boilers share
};

constexpr std::size_t kNone = CommandTag::kNoFeedback;
constexpr CommandRow kBoilerCommands[] = {
    {"К#КлГаз",  "Клап.газ", "К# откр.",  2.0F, 1, 9},
    {"К#Запал",  "Запальн.", "К# вкл.",   0.2F, 0, kNone},
    {"К#ВенВкл", "Вентил.#", "включить",  1.0F, 1, 11},
    {"К#ДымВкл", "Дымосос#", "включить",  1.0F, 1, 12},
    {"К#ЗдвВкл", "Задвижка", "К# откр.",  4.0F, 1, 13},
};
constexpr CommandRow kCommonCommands[] = {
    {"НС1 вкл",  "Насос С1", "включить",  1.0F, 1, 0},
    {"НС2 вкл",  "Насос С2", "включить",  1.0F, 1, 1},
    {"НС3 вкл",  "Насос С3", "включить",  1.0F, 0, 2},
    {"НП1 вкл",  "Насос П1", "включить",  1.0F, 1, 3},
    {"НП2 вкл",  "Насос П2", "включить",  1.0F, 0, 4},
    {"НГ1 вкл",  "Насос Г1", "включить",  1.0F, 1, 5},
    {"НГ2 вкл",  "Насос Г2", "включить",  1.0F, 0, 6},
    {"КлГазВкл", "Клап.вв.", "открыть",   3.0F, 1, 7},
    {"Сирена",   "Сирена",   "включить",  0.1F, 0, kNone},
};

struct InputRow {
    const char *designation, *name1, *name2;
    InputLayout layout;
    Unit unit;
    float initial, minimum, maximum;
    const char* text;
};

using enum InputLayout;
constexpr InputRow kBoilerInputs[] = {
    {"К#Т зад",  "Задание",  "К# Т,°C",   number,  celsius,    82,   50,  110, ""},
    {"К#О2 зад", "Задание",  "К# О2,%",   number,  percent,     4,    2,    8, ""},
    {"К#Р зад",  "Задание",  "К#раз,Па",  number,  pascal,    -25,  -60,  -10, ""},
    {"К#Разреш", "Работа#",  "разрешен",  boolean, Unit::none,  1,    0,    1, ""},
    {"К#Запис",  "Записка",  "по К#",     string,  Unit::none,  0,    0,    0, "Котёл # в работе"},
};
constexpr InputRow kCommonInputs[] = {
    {"Тпр зад",  "Задание",  "Тпрям,°C",  number,  celsius,    74,   40,   95, ""},
    {"Тгвс зад", "Задание",  "ГВС,°C",    number,  celsius,    58,   40,   70, ""},
    {"Роб зад",  "Задание",  "Робр,МПа",  number,  megapascal,0.25F,0.15F,0.35F, ""},
    {"ГрафНакл", "Отопит.",  "график,к",  number,  Unit::none, 1.2F,0.5F,   3, ""},
    {"ГрафСдв",  "Отопит.",  "сдвиг,°C",  number,  celsius,     0,  -15,   15, ""},
    {"ПогодРег", "По погод", "режим",     boolean, Unit::none,  0,    0,    1, ""},
    {"Лето",     "Летний",   "режим",     boolean, Unit::none,  0,    0,    1, ""},
    {"Смена",    "Смена",    "фамилия",   string,  Unit::none,  0,    0,    0, "Иванов И.И."},
    {"Сообщ",    "Сообщен.", "смене",     string,  Unit::none,  0,    0,    0, "Норма"},
};

struct LoopRow {
    const char *designation, *name1, *name2;
    std::size_t signal, input;
    float gain, integrationSeconds, initialOutput;
    std::uint8_t decimals;
};

constexpr LoopRow kBoilerLoops[] = {
    {"К#РегГаз", "Регул.Т",  "воды К#",   n(BoilerSignal::waterOut), static_cast<std::size_t>(BoilerInput::temperature), 3.0F, 12, 74, 1},
    {"К#РегВоз", "Регул.О2", "дыма К#",   n(BoilerSignal::oxygen),   static_cast<std::size_t>(BoilerInput::oxygen),      2.5F,  5, 63, 1},
    {"К#РегРаз", "Регулят.", "разр К#",   n(BoilerSignal::draft),    static_cast<std::size_t>(BoilerInput::draft),      -0.6F,  3, 50, 1},
};
constexpr LoopRow kCommonLoops[] = {
    {"РегСмес",  "Регул.Т",  "прямой",    n(CommonSignal::supplyTemperature),   static_cast<std::size_t>(CommonInput::supplyTemperature),   2.0F, 10, 70, 1},
    {"РегГВС",   "Регул.Т",  "ГВС",       n(CommonSignal::hotWaterTemperature), static_cast<std::size_t>(CommonInput::hotWaterTemperature), 1.5F, 10, 76, 1},
    {"РегПодп",  "Регул.Р",  "обратной",  n(CommonSignal::returnPressure),      static_cast<std::size_t>(CommonInput::returnPressure),     400.0F, 20, 25, 1},
};
// clang-format on

static_assert(std::size(kBoilerAnalogs) == countOf<BoilerSignal>());
static_assert(std::size(kCommonAnalogs) == countOf<CommonSignal>());
static_assert(std::size(kBoilerCommands) == countOf<BoilerDrive>());
static_assert(std::size(kCommonCommands) == countOf<CommonDrive>());
static_assert(std::size(kBoilerInputs) == countOf<BoilerInput>());
static_assert(std::size(kCommonInputs) == countOf<CommonInput>());
static_assert(std::size(kBoilerLoops) == countOf<BoilerLoop>());
static_assert(std::size(kCommonLoops) == countOf<CommonLoop>());

// ---- from rows to tags ---------------------------------------------------------------------

/// What a row's tag belongs to: one of the boilers, or what they share.
struct Place {
    std::size_t boiler;  // kBoilers: shared

    [[nodiscard]] bool shared() const { return boiler == kBoilers; }
};

template <std::size_t Size>
std::array<char, Size> cp866(const char* utf8, Place place) {
    std::string text = Utf8ToCP866Converter::convertUtf8ToCP866_manual(utf8);
    if (!place.shared()) {
        std::replace(text.begin(), text.end(), '#', static_cast<char>('1' + place.boiler));
    }
    assert(text.size() < Size);  // the rows above are written to fit
    std::array<char, Size> bytes{};
    std::memcpy(bytes.data(), text.data(), std::min(text.size(), Size - 1));
    return bytes;
}

template <class Row>
TagTexts textsOf(const Row& row, Place place) {
    return {cp866<9>(row.designation, place), cp866<9>(row.name1, place),
            cp866<9>(row.name2, place)};
}

/// Converts a row's index within a boiler, or within what the boilers share, to one in the house.
std::size_t inHouse(std::size_t index, std::size_t perBoiler, Place place) {
    return place.boiler * perBoiler + index;
}

AnalogTag tagOf(const AnalogRow& row, Place place) {
    return {textsOf(row, place), row.unit,       row.decimals,    row.scaleLow,  row.scaleHigh,
            row.alarmLow,        row.warningLow, row.warningHigh, row.alarmHigh, row.noise};
}

DiscreteTag tagOf(const DiscreteRow& row, Place place) {
    const bool ofDrive = row.source == driveOn || row.source == driveOff;
    const std::size_t perBoiler = ofDrive ? countOf<BoilerDrive>() : countOf<BoilerSignal>();
    return {textsOf(row, place), row.source,   inHouse(row.index, perBoiler, place),
            row.threshold,       row.alarmAt1, row.alarmAt0};
}

CommandTag tagOf(const CommandRow& row, Place place) {
    const std::size_t feedback =
        row.feedback == kNone ? kNone : inHouse(row.feedback, kBoilerContacts, place);
    return {textsOf(row, place), row.strokeSeconds, row.initial, feedback};
}

InputTag tagOf(const InputRow& row, Place place) {
    return {textsOf(row, place),       row.layout, row.unit, row.initial, row.minimum, row.maximum,
            cp866<17>(row.text, place)};
}

LoopTag tagOf(const LoopRow& row, Place place) {
    return {textsOf(row, place),
            inHouse(row.signal, countOf<BoilerSignal>(), place),
            inHouse(row.input, countOf<BoilerInput>(), place),
            row.gain,
            row.integrationSeconds,
            row.initialOutput,
            row.decimals};
}

template <class Tag, class BoilerRows, class CommonRows>
std::vector<Tag> tagsOf(const BoilerRows& ofBoilers, const CommonRows& shared) {
    std::vector<Tag> tags;
    for (std::size_t boiler = 0; boiler < kBoilers; ++boiler) {
        for (const auto& row : ofBoilers) {
            tags.push_back(tagOf(row, Place{boiler}));
        }
    }
    for (const auto& row : shared) {
        tags.push_back(tagOf(row, Place{kBoilers}));
    }
    return tags;
}

}  // namespace

const HouseTags& houseTags() {
    static const HouseTags kTags{tagsOf<AnalogTag>(kBoilerAnalogs, kCommonAnalogs),
                                 tagsOf<DiscreteTag>(kBoilerContactRows, kCommonContactRows),
                                 tagsOf<CommandTag>(kBoilerCommands, kCommonCommands),
                                 tagsOf<InputTag>(kBoilerInputs, kCommonInputs),
                                 tagsOf<LoopTag>(kBoilerLoops, kCommonLoops)};
    return kTags;
}

bool mayBreak(std::size_t signal) {
    const auto& loops = houseTags().loops;
    return std::none_of(loops.begin(), loops.end(),
                        [&](const LoopTag& loop) { return loop.signal == signal; });
}

bool contactMayBreak(std::size_t contact) {
    const ContactSource source = houseTags().contacts[contact].source;
    return source != driveOn && source != driveOff;
}

}  // namespace sim
