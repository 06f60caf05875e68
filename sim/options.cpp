#include "sim/options.h"

#include <charconv>

#include "server/bounds/ConfigBounds.h"
#include "sim/failure.h"
#include "tools/command_line/command_line.h"

namespace sim {

namespace {

using tools::CommandLine;
using tools::Text;

constexpr Text kDescription{
    "Имитатор контроллера котельной для наладки и обучения",
    "Simulated controller of a boiler house, for commissioning and training"};
constexpr Text kFooter{
    "Программа владеет всем, чем владеет контроллер: файлами ключей, реестром имён, базой\n"
    "данных, настройками. Ctrl-C или SIGTERM убирает всё созданное. Рядом с настоящим\n"
    "контроллером и поверх чужих файлов она не запускается.\n\n"
    "Код завершения: 0 - остановлена сигналом, 1 - не удалось создать нужное, 2 - ошибка в\n"
    "командной строке, 3 - здесь работает контроллер или другой zrtsim, 4 - здесь лежит то,\n"
    "чего zrtsim не создавал.",
    "The program owns everything that a controller owns: key files, name registry, database,\n"
    "settings. Ctrl-C or SIGTERM removes everything that it made. It does not start beside a real\n"
    "controller, and overwrites no files of others.\n\n"
    "Exit status: 0 ended by a signal, 1 something could not be made, 2 bad usage, 3 a controller\n"
    "or another zrtsim runs here, 4 there are files that zrtsim did not make."};

/// An option whose value is a whole number from `low` to `high`.
template <class Number>
CLI::Option& addNumber(CommandLine& line, const std::string& name, Number& target, long low,
                       long high, const Text& help) {
    const std::string range = std::to_string(low) + ".." + std::to_string(high);
    const auto check = [=, language = line.language()](std::string& text) {
        try {
            std::size_t used = 0;
            const long value = std::stol(text, &used);
            if (used == text.size() && value >= low && value <= high) return std::string();
        } catch (const std::exception&) {
            // Reported below, like everything else that is not a number in the range.
        }
        const Text wanted{"нужно целое число ", "a whole number is needed, "};
        return wanted.in(language) + range + ": \"" + text + "\"";
    };
    return *line.app()
                .add_option(name, target, line.in(help))
                ->check(CLI::Validator(check, {}))
                ->type_name(range);
}

/// Reads "30d", "12h", "45m" or "90s".
std::optional<std::chrono::seconds> durationOf(const std::string& text) {
    constexpr struct {
        char letter;
        std::int64_t seconds;
    } kUnits[] = {{'d', 86'400}, {'h', 3600}, {'m', 60}, {'s', 1}};
    constexpr std::int64_t kLongest = 3660 * std::int64_t{86'400};
    std::int64_t number = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc{} || rest + 1 != end || number < 1) return std::nullopt;
    for (const auto& unit : kUnits) {
        if (*rest != unit.letter || number > kLongest / unit.seconds) continue;
        return std::chrono::seconds(number * unit.seconds);
    }
    return std::nullopt;
}

void addDuration(CommandLine& line, const std::string& name,
                 std::optional<std::chrono::seconds>& to, const Text& help) {
    const auto check = [language = line.language()](std::string& text) {
        if (durationOf(text)) return std::string();
        const Text wanted{"нужно время как 30d, 12h, 45m или 90s, до 3660d",
                          "a time like 30d, 12h, 45m or 90s is needed, up to 3660d"};
        return wanted.in(language) + ": \"" + text + "\"";
    };
    line.app()
        .add_option_function<std::string>(
            name, [&to](const std::string& text) { to = durationOf(text); }, line.in(help))
        ->check(CLI::Validator(check, {}))
        ->type_name(line.in({"ВРЕМЯ", "TIME"}));
}

void addCounts(CommandLine& line, Options& options) {
    const struct {
        const char* name;
        TypeCode type;
        Text help;
    } rows[] = {
        {"--va", TypeCode::VA, {"аналоговых входов (VA)", "analog inputs (VA)"}},
        {"--av", TypeCode::AV, {"регуляторов (AV)", "control loops (AV)"}},
        {"--rv", TypeCode::HI, {"ручных вводов (RV, тип HI базы)", "manual inputs (RV, type HI)"}},
        {"--vd",
         TypeCode::DI,
         {"дискретных входов (VD, тип DI базы)", "discrete inputs (VD, type DI)"}},
        {"--dv",
         TypeCode::DO,
         {"дискретных выходов (DV, тип DO базы)", "discrete outputs (DV, type DO)"}},
        {"--th", TypeCode::TH, {"переменных TH", "variables of type TH"}},
        {"--tm", TypeCode::TM, {"переменных TM", "variables of type TM"}},
        {"--ts", TypeCode::TS, {"переменных TS", "variables of type TS"}},
        {"--fv", TypeCode::FV, {"переменных FV", "variables of type FV"}},
        {"--iv", TypeCode::IV, {"переменных IV", "variables of type IV"}},
        {"--lv", TypeCode::LV, {"переменных LV", "variables of type LV"}}};
    for (const auto& row : rows) {
        const std::string help = line.in({"Число ", "Number of "}) + line.in(row.help);
        addNumber(line, row.name, options.counts[indexOf(row.type)], 0, kLastTagNumber,
                  {help.c_str(), help.c_str()})
            .capture_default_str()
            ->group(line.in({"Размер базы", "Size of the database"}));
    }
}

void addNumbers(CommandLine& line, Options& options) {
    addNumber(line, "--port", options.port, kFirstPort, kLastPort,
              {"Порт сервера в образце opcuasrv.ini, иначе 4840",
               "Port of the server in the sample opcuasrv.ini; otherwise 4840"});
    addNumber(line, "--cycle", options.cycleMs, 10, 60000,
              {"Цикл контроллера, мс; иначе CycleTime из veskkntr.ini, иначе 100",
               "Cycle of the controller, ms; otherwise CycleTime of veskkntr.ini, otherwise 100"});
    addNumber(line, "--controller", options.controllerNumber, 0, 32767,
              {"Номер контроллера, иначе 1", "Number of the controller; otherwise 1"});
    addNumber(line, "--generation", options.generation, 0, 255,
              {"Байт поколения ключей System V", "Generation byte of the System V keys"})
        .default_str("0");
    line.app()
        .add_option("--seed", options.seed,
                    line.in({"Начало случайных чисел: одинаковое даёт одинаковый ход",
                             "Seed of the random numbers: the same gives the same course"}))
        ->capture_default_str()
        ->type_name("N");
}

void addRest(CommandLine& line, Options& options) {
    const Text file{"ФАЙЛ", "FILE"};
    addDuration(line, "--history", options.history,
                {"Наполнить архив трендов прошлым такой длины, например 30d, 12h, 45m",
                 "Fill the trend archive with a past of this length, for example 30d, 12h, 45m"});
    addDuration(line, "--keep", options.keep,
                {"Хранить в архиве трендов столько времени записи, иначе 35d",
                 "Keep this much recorded time in the trend archive; otherwise 35d"});
    line.option(
        "--config", options.config,
        {"Взять этот opcuasrv.ini вместо образца", "Take this opcuasrv.ini in place of the sample"},
        file);
    line.flag("--frozen", options.frozen,
              {"Установка стоит: таблицы не меняются, но на запросы ответы идут",
               "Nothing moves: the tables do not change, but requests are answered"});
    line.flag("--stats", options.stats,
              {"Печатать длительность и опоздание циклов",
               "Print how long cycles take and how late they begin"});
    line.option("--cycle-log", options.cycleLog,
                {"Писать в этот файл строку о каждом цикле: начало, опоздание, длительность, мкс",
                 "Write a line for each cycle to this file: begin, lateness, duration, in us"},
                file);
    line.flag("--fresh", options.fresh,
              {"Создать файлы заново, даже если созданные прежде были изменены",
               "Make the files anew, even if those made before were edited"});
    line.flag("--attribute-table", options.attributeTable,
              {"Напечатать таблицу атрибутов (docs/attributes.md) и выйти",
               "Print the table of attributes (docs/attributes.md) and end"});
}

void declareOptions(CommandLine& line, Options& options) {
    line.app().get_option("--lang")->description(
        line.in({"Язык этой справки: ru или en; сообщения всегда по-русски",
                 "Language of this help: ru or en; messages are always in Russian"}));
    addNumbers(line, options);
    addRest(line, options);
    addCounts(line, options);
}

}  // namespace

std::optional<Options> parseOptions(int argc, const char* const* argv, int& exitStatus) {
    Options options;
    CommandLine line("zrtsim", kDescription, kFooter, tools::askedLanguage(argc, argv));
    declareOptions(line, options);
    constexpr int kUsage = static_cast<int>(ExitCode::usage);
    if (const auto ended = line.parse(argc, argv, kUsage)) {
        exitStatus = *ended;
        return std::nullopt;
    }
    if (options.history && options.keep && *options.history > *options.keep) {
        line.refuse(line.in({"--history: прошлое длиннее, чем хранит --keep",
                             "--history: the past is longer than --keep"}));
        exitStatus = kUsage;
        return std::nullopt;
    }
    return options;
}

void describe(tools::Language language, const tools::CommandLineReader& reader) {
    Options options;
    CommandLine line("zrtsim", kDescription, kFooter, language);
    declareOptions(line, options);
    reader(line.app());
}

}  // namespace sim
