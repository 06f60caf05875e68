#include "sim/options.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <iostream>

#include "server/bounds/ConfigBounds.h"
#include "sim/failure.h"

namespace sim {

namespace {

/// Range check whose message is Russian.
CLI::Validator between(long low, long high) {
    const std::string range = std::to_string(low) + ".." + std::to_string(high);
    return {[=](std::string& text) {
                try {
                    std::size_t used = 0;
                    const long value = std::stol(text, &used);
                    if (used == text.size() && value >= low && value <= high) return std::string();
                } catch (const std::exception&) {
                    // Reported below, like everything else that is not a number in the range.
                }
                return "нужно целое число " + range + ", получено \"" + text + "\"";
            },
            range, "range"};
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

void addDuration(CLI::App& app, const char* name, std::optional<std::chrono::seconds>& to,
                 const std::string& help) {
    const auto check = [](std::string& text) {
        if (durationOf(text)) return std::string();
        return "нужно время как 30d, 12h, 45m или 90s, до 3660d, получено \"" + text + "\"";
    };
    app.add_option_function<std::string>(
           name, [&to](const std::string& text) { to = durationOf(text); }, help)
        ->check(CLI::Validator(check, "время"))
        ->type_name("");
}

void addCounts(CLI::App& app, Options& options) {
    const struct {
        const char* name;
        TypeCode type;
        const char* help;
    } rows[] = {{"--va", TypeCode::VA, "аналоговых входов (VA)"},
                {"--av", TypeCode::AV, "регуляторов (AV)"},
                {"--rv", TypeCode::HI, "ручных вводов (RV, тип HI базы)"},
                {"--vd", TypeCode::DI, "дискретных входов (VD, тип DI базы)"},
                {"--dv", TypeCode::DO, "дискретных выходов (DV, тип DO базы)"},
                {"--th", TypeCode::TH, "переменных TH"},
                {"--tm", TypeCode::TM, "переменных TM"},
                {"--ts", TypeCode::TS, "переменных TS"},
                {"--fv", TypeCode::FV, "переменных FV"},
                {"--iv", TypeCode::IV, "переменных IV"},
                {"--lv", TypeCode::LV, "переменных LV"}};
    for (const auto& row : rows) {
        app.add_option(row.name, options.counts[indexOf(row.type)],
                       std::string("число ") + row.help)
            ->check(between(0, kLastTagNumber))
            ->capture_default_str()
            ->group("Размер базы");
    }
}

void addRest(CLI::App& app, Options& options) {
    app.add_option("--port", options.port,
                   "порт сервера в образце opcuasrv.ini, иначе " + std::to_string(kFirstPort))
        ->check(between(kFirstPort, kLastPort));
    app.add_option("--cycle", options.cycleMs,
                   "цикл контроллера, мс; иначе CycleTime из veskkntr.ini, иначе 100")
        ->check(between(10, 60000));
    app.add_option("--controller", options.controllerNumber, "номер контроллера, иначе 1")
        ->check(between(0, 32767));
    addDuration(app, "--history", options.history,
                "наполнить архив трендов прошлым такой длины, например 30d, 12h, 45m");
    addDuration(app, "--keep", options.keep,
                "хранить в архиве трендов столько времени записи, иначе 35d");
    app.add_option("--config", options.config, "взять этот opcuasrv.ini вместо образца");
    app.add_option("--generation", options.generation, "байт поколения ключей System V")
        ->check(between(0, 255))
        ->capture_default_str();
    app.add_option("--seed", options.seed, "начало случайных чисел: одинаковое даёт одинаковый ход")
        ->capture_default_str();
    app.add_flag("--frozen", options.frozen,
                 "установка стоит: таблицы не меняются, но на запросы ответы идут")
        ->disable_flag_override();
    app.add_flag("--stats", options.stats, "печатать длительность и опоздание циклов")
        ->disable_flag_override();
    app.add_option(
        "--cycle-log", options.cycleLog,
        "писать в этот файл строку о каждом цикле: начало, опоздание, длительность, мкс");
    app.add_flag("--fresh", options.fresh,
                 "создать файлы заново, даже если созданные прежде были изменены")
        ->disable_flag_override();
    app.add_flag("--attribute-table", options.attributeTable,
                 "напечатать таблицу атрибутов (docs/attributes.md) и выйти")
        ->disable_flag_override();
}

constexpr const char* kFooter =
    "\nПрограмма владеет всем, чем владеет контроллер: файлами ключей, реестром имён, базой\n"
    "данных, настройками. Ctrl-C или SIGTERM убирает всё созданное. Рядом с настоящим\n"
    "контроллером и поверх чужих файлов она не запускается.\n\n"
    "Код завершения: 0 - остановлена сигналом, 1 - не удалось создать нужное, 2 - ошибка в\n"
    "командной строке, 3 - здесь работает контроллер или другой zrtsim, 4 - здесь лежит то,\n"
    "чего zrtsim не создавал.\n";

int report(const CLI::ParseError& error) {
    std::string text = error.what();
    if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
        text = "неизвестный параметр (" + text + ")";
    } else if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
        text = "у параметра нет значения или оно лишнее (" + text + ")";
    }
    std::cerr << "zrtsim: " << text << "\nПодсказка: zrtsim --help\n";
    return static_cast<int>(ExitCode::usage);
}

}  // namespace

std::optional<Options> parseOptions(int argc, const char* const* argv, int& exitStatus) {
    Options options;
    CLI::App app{"zrtsim - имитатор контроллера котельной для наладки и обучения", "zrtsim"};
    app.option_defaults()->group("Параметры");
    app.set_help_flag("-h,--help", "показать эту подсказку и выйти");
    app.get_formatter()->label("Usage", "Вызов");
    app.get_formatter()->label("OPTIONS", "ПАРАМЕТРЫ");
    app.get_formatter()->column_width(28);
    app.footer(kFooter);
    addCounts(app, options);
    addRest(app, options);
    try {
        app.parse(argc, argv);
        if (options.history && options.keep && *options.history > *options.keep) {
            throw CLI::ValidationError("--history", "прошлое длиннее, чем хранит --keep");
        }
    } catch (const CLI::CallForHelp&) {
        std::cout << app.help();
        exitStatus = 0;
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        exitStatus = report(error);
        return std::nullopt;
    }
    return options;
}

}  // namespace sim
