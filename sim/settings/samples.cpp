#include "sim/settings/samples.h"

#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <utility>

#include "lib/util/veskpath.h"
#include "server/bounds/ConfigBounds.h"
#include "server/text/Utf8ToCP866Converter.h"
#include "sim/plant/house_layout.h"

namespace sim {

namespace {

// Readers of this file take the first line that mentions a key before an equals sign, even in a
// comment. So no comment here contains such text.
constexpr const char* kControllerIni = R"(; Настройки контроллера. Файл создан имитатором zrtsim.
; Изменённый файл при остановке имитатора останется и будет взят при следующем запуске.

[StartSetup]
; Номер контроллера: с него начинаются сообщения и строки журнала.
Number_kontr = @NUMBER@
; Цикл контроллера, мс.
CycleTime = @CYCLE@

[ROLLING]
; Журнал событий: сообщений в памяти и на диске, каталог словарей, период записи в мс.
MaxNumMessageMemory = 3000
MaxNumMessageDisk = 250
Path_To_Dictionary = @DIC@
SaveTime = 1000

[SystemDictionary]
; Номер системного словаря сообщений.
SystemDictionary = 301
)";

constexpr const char* kServerIni =
    R"(; Конфигурация сервера OPC UA. Файл создан имитатором zrtsim: котельная с тремя котлами.
; Кодировка CP866. После знака ";" - примечание. В значениях нельзя ставить ":" и ";".
; Изменённый файл при остановке имитатора останется и будет взят при следующем запуске.

[General]
AplicationName = Котельная        ; имя сервера и папки, до @NAME-BYTES@ знаков
ServerPort = @PORT@               ; порт от @FIRST-PORT@ до @LAST-PORT@
OperativeData = on                ; текущие значения
HistoricalData = on               ; история из архива трендов
SamplingInterval = @DEFAULT-MS@            ; наименьший период опроса, мс
CountHistoryTrends = @MOST-VALUES@         ; значений в одном ответе на запрос истории, до @MOST-VALUES@

; Какие переменные публикуются: all - все, иначе номера и диапазоны, как 1-18, 55, 60-65.
[Attributes]
VA = all                          ; аналоговые входы
VD = all                          ; дискретные входы
DV = all                          ; дискретные выходы, команды
AV = all                          ; регуляторы
RV = all                          ; ручной ввод: числа, тексты, переключатели

; Какие атрибуты есть у переменных. Ключ начинается с вида переменной, дальше произвольно:
;   ключ = имя узла, номер атрибута, доступ
; Номера атрибутов - в docs/attributes.md. Текущее значение: VA 29, VD 27, DV 20, RV 8 (число),
; 12 (текст) или 14 (переключатель). Атрибут 0 не публикуется.

; Аналоговые входы (VA). Значение пишется, когда вход снят с опроса (Запрет равен 1).
Type1.01 = Значение, 29, OPC_READABLE+OPC_WRITEABLE
Type1.02 = Позиция, 5, OPC_READABLE
Type1.03 = Имя1, 6, OPC_READABLE
Type1.04 = Имя2, 7, OPC_READABLE
Type1.05 = Единица, 8, OPC_READABLE
Type1.06 = НачалоШкалы, 11, OPC_READABLE
Type1.07 = КонецШкалы, 12, OPC_READABLE
Type1.08 = ПредупрНиз, 13, OPC_READABLE+OPC_WRITEABLE
Type1.09 = ПредупрВерх, 14, OPC_READABLE+OPC_WRITEABLE
Type1.10 = АварияНиз, 15, OPC_READABLE+OPC_WRITEABLE
Type1.11 = АварияВерх, 16, OPC_READABLE+OPC_WRITEABLE
Type1.12 = Запрет, 30, OPC_READABLE+OPC_WRITEABLE
Type1.13 = Отказ, 38, OPC_READABLE
Type1.14 = Тревога, 33, OPC_READABLE

; Дискретные входы (VD). Состояние пишется, когда вход снят с опроса (СнятСОпроса равен 1).
Type2.01 = Состояние, 27, OPC_READABLE+OPC_WRITEABLE
Type2.02 = Позиция, 5, OPC_READABLE
Type2.03 = Имя1, 6, OPC_READABLE
Type2.04 = Имя2, 7, OPC_READABLE
Type2.05 = СнятСОпроса, 32, OPC_READABLE+OPC_WRITEABLE
Type2.06 = Тревога, 34, OPC_READABLE
Type2.07 = НомерДатчика, 31, OPC_READABLE

; Регуляторы (AV). Выход в автоматическом режиме показывает РучнойВыход; в ручном он задаётся им.
Type3.01 = Задание, 21, OPC_READABLE+OPC_WRITEABLE
Type3.02 = Параметр, 39, OPC_READABLE
Type3.03 = Позиция, 5, OPC_READABLE
Type3.04 = Имя1, 6, OPC_READABLE
Type3.05 = Имя2, 7, OPC_READABLE
Type3.06 = Рассогласование, 44, OPC_READABLE
Type3.07 = Усиление, 23, OPC_READABLE+OPC_WRITEABLE
Type3.08 = Интегрирование, 24, OPC_READABLE+OPC_WRITEABLE
Type3.09 = РучнойРежим, 72, OPC_READABLE+OPC_WRITEABLE
Type3.10 = РучнойВыход, 52, OPC_READABLE+OPC_WRITEABLE
Type3.11 = ВремяХода, 36, OPC_READABLE

; Дискретные выходы (DV).
Type4.01 = Команда, 20, OPC_READABLE+OPC_WRITEABLE
Type4.02 = Позиция, 6, OPC_READABLE
Type4.03 = Имя1, 7, OPC_READABLE
Type4.04 = Имя2, 8, OPC_READABLE
Type4.05 = Включён, 33, OPC_READABLE
Type4.06 = НетОтклика, 34, OPC_READABLE

; Ручной ввод: числа (RVV), тексты (RVS), переключатели (RVL).
Type50.01 = Значение, 8, OPC_READABLE+OPC_WRITEABLE
Type50.02 = Позиция, 1, OPC_READABLE
Type50.03 = Имя1, 2, OPC_READABLE
Type50.04 = Имя2, 3, OPC_READABLE
Type50.05 = Максимум, 6, OPC_READABLE
Type50.06 = Минимум, 7, OPC_READABLE
Type50.07 = Ограничено, 10, OPC_READABLE
Type51.01 = Текст, 12, OPC_READABLE+OPC_WRITEABLE
Type51.02 = Позиция, 1, OPC_READABLE
Type51.03 = Имя1, 2, OPC_READABLE
Type51.04 = Имя2, 3, OPC_READABLE
Type52.01 = Значение, 14, OPC_READABLE+OPC_WRITEABLE
Type52.02 = Позиция, 1, OPC_READABLE
Type52.03 = Имя1, 2, OPC_READABLE
Type52.04 = Имя2, 3, OPC_READABLE

; Самописцы, чьи перья публикуются с историей. Что они пишут, задаёт trends.ini. Без ключа Pens
; публикуются все перья с короткими именами узлов (R1_P1.VA_6); с перечнем - только они, с полными
; (Котельная.Historical.Теплосеть.R4_P2.VA_56).
[Plotter_1]
Name = Котёл 1

[Plotter_2]
Name = Котёл 2

[Plotter_3]
Name = Котёл 3

[Plotter_4]
Name = Теплосеть
Pens = 1-6, 8
)";

constexpr const char* kTrendsIni =
    R"(; Самописцы и перья архива трендов. Файл создан имитатором zrtsim. Кодировка CP866.
; Изменённый файл при остановке имитатора останется и будет взят при следующем запуске.
;
; Самописцы и перья нумеруются с 1 подряд. Перо:
;   Pen_N = вид переменной, номер, тип значений, название
; Вид: VA, AV, RV, VD или DV. Тип: float, double, integer или boolean. Название не обязательно.
; Если перо получит другую переменную, его прежние значения из архива удаляются.

@BOILERS@[Plotter_4]
Name = Теплосеть
Pen_1 = VA, 55, float, Наружный воздух
Pen_2 = VA, 56, float, Вода в сеть
Pen_3 = VA, 57, float, Вода из сети
Pen_4 = RV, 16, float, Задание воды в сеть
Pen_5 = AV, 10, float, Выход регулятора смешения
Pen_6 = VA, 62, float, Уровень в баке подпитки
Pen_7 = VD, 43, boolean, Сетевой насос 1
Pen_8 = RV, 21, boolean, Погодный режим
)";

/// What a boiler's plotter records: the variable of boiler 1, and the distance to the next
/// boiler's.
constexpr struct {
    const char* kind;
    int number, step;
    const char* typeAndName;
} kBoilerPens[] = {
    {"VA", 6, 18, "float, Вода за котлом"},
    {"RV", 1, 5, "float, Задание температуры воды"},
    {"AV", 1, 3, "float, Выход регулятора газа"},
    {"VA", 2, 18, "integer, Расход газа"},
    {"VA", 11, 18, "float, Кислород в дыме"},
    {"VA", 4, 18, "float, Разрежение в топке"},
    {"VD", 1, 14, "boolean, Факел"},
    {"DV", 1, 5, "boolean, Клапан газа"},
};

std::string boilerPlotters() {
    std::ostringstream text;
    for (int boiler = 0; boiler < static_cast<int>(kBoilers); ++boiler) {
        text << "[Plotter_" << boiler + 1 << "]\nName = Котёл " << boiler + 1 << "\n";
        for (int pen = 0; const auto& row : kBoilerPens) {
            text << "Pen_" << ++pen << " = " << row.kind << ", " << row.number + boiler * row.step
                 << ", " << row.typeAndName << "\n";
        }
        text << "\n";
    }
    return text.str();
}

std::string filledIn(std::string text, const std::string& mark, const std::string& value) {
    for (auto place = text.find(mark); place != std::string::npos; place = text.find(mark, place)) {
        text.replace(place, mark.size(), value);
        place += value.size();
    }
    return text;
}

}  // namespace

std::string controllerIni(int controllerNumber, int cycleMs) {
    std::string text = filledIn(kControllerIni, "@NUMBER@", std::to_string(controllerNumber));
    text = filledIn(text, "@CYCLE@", std::to_string(cycleMs));
    text = filledIn(text, "@DIC@", SRV_Path.DIC);
    return Utf8ToCP866Converter::convertUtf8ToCP866_manual(text);
}

std::string trendsIni() {
    return Utf8ToCP866Converter::convertUtf8ToCP866_manual(
        filledIn(kTrendsIni, "@BOILERS@", boilerPlotters()));
}

std::string serverIni(int port) {
    const std::pair<const char*, std::int64_t> numbers[] = {
        {"@PORT@", port},
        {"@FIRST-PORT@", kFirstPort},
        {"@LAST-PORT@", kLastPort},
        {"@NAME-BYTES@", kApplicationNameBytes},
        {"@DEFAULT-MS@", static_cast<std::int64_t>(kDefaultIntervalMs)},
        {"@MOST-VALUES@", kMostHistoryValues},
    };
    std::string text = kServerIni;
    for (const auto& [mark, number] : numbers) {
        text = filledIn(std::move(text), mark, std::to_string(number));
    }
    return Utf8ToCP866Converter::convertUtf8ToCP866_manual(text);
}

int cycleTimeOf(const std::string& controllerIniText, int otherwise) {
    constexpr std::string_view kKey = "CycleTime";
    constexpr int kShortest = 10;
    constexpr int kLongest = 60000;
    std::istringstream lines(controllerIniText);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t key = line.find(kKey);
        if (key == std::string::npos) continue;
        const std::size_t equals = line.find('=', key + kKey.size());
        if (equals == std::string::npos) continue;
        const int value = std::atoi(line.c_str() + equals + 1);
        return value >= kShortest && value <= kLongest ? value : otherwise;
    }
    return otherwise;
}

}  // namespace sim
