#include "tools/opcuaweb/options/options.h"

#include <open62541/util.h>

#include <filesystem>

#include "server/opcua/UaView.h"
#include "tools/client/session.h"
#include "tools/command_line/command_line.h"

namespace tools::opcuaweb {

namespace {

constexpr Text kDescription{
    "Показывает контроллер в браузере: значения, тренды, журнал и конфигурацию.\n"
    "Клиент сервера OPC UA и веб-сервер; сам контроллер не меняет, если не дан --allow-writes.",
    "Shows the controller in a browser: values, trends, journal and configuration.\n"
    "A client of the OPC UA server and a web server; changes nothing without --allow-writes."};
constexpr Text kFooter{
    "Код завершения: 0 — остановлена сигналом, 1 — адрес страницы занят или чужой,\n"
    "2 — неверные ключи или непригодный файл.",
    "Exit status: 0 stopped by a signal, 1 the page's address is taken or not this machine's,\n"
    "2 bad usage or an unusable file."};

/// Options that are checked after parsing.
struct Texts {
    std::string listen;
    std::string system;
    std::string counts;
};

void declarePlaces(CommandLine& line, Options& options, Texts& texts) {
    line.option("--url", options.url, {"Адрес сервера OPC UA", "Address of the OPC UA server"},
                {"АДРЕС", "ADDRESS"})
        .capture_default_str();
    line.option("--listen", texts.listen,
                {"Адрес и порт страницы, например 127.0.0.1:8080 или [::1]:8080",
                 "Address and port of the page, for example 127.0.0.1:8080 or [::1]:8080"},
                {"АДРЕС:ПОРТ", "ADDRESS:PORT"})
        .capture_default_str();
    line.option("--password-file", options.passwordFile,
                {"Файл строк имя:хеш (mkpasswd); нужен, если --listen — не эта машина",
                 "File of lines name:hash (mkpasswd); needed if --listen is not the loopback"},
                {"ФАЙЛ", "FILE"});
    line.flag("--allow-writes", options.allowWrites,
              {"Разрешить запись значений со страницы", "Allow values to be written on the page"});
}

void declareParts(CommandLine& line, Options& options, Texts& texts) {
    line.flag("--journal", options.journal,
              {"Показывать журнал событий (на самом контроллере)",
               "Show the event journal (on the controller itself)"});
    auto& config = line.option("--config", options.config,
                               {"Показывать и проверять эту конфигурацию (opcuasrv.ini)",
                                "Show and check this configuration (opcuasrv.ini)"},
                               {"ФАЙЛ", "FILE"});
    line.option("--system", texts.system,
                {"Папка файлов offatrs.dat и atributs.dat, для проверки",
                 "Folder of offatrs.dat and atributs.dat, for the check"},
                {"ПАПКА", "FOLDER"})
        .needs(&config);
    line.option("--settings", options.settings,
                {"Папка файла veskkntr.ini; без ключа — папка конфигурации",
                 "Folder of veskkntr.ini; default: the configuration's folder"},
                {"ПАПКА", "FOLDER"})
        .needs(&config);
    line.option("--counts", texts.counts,
                {"Сколько в базе переменных, например va=120,av=20",
                 "How many variables the database has, for example va=120,av=20"},
                {"va=N,...", "va=N,..."})
        .needs(&config);
}

bool isServerUrl(const std::string& url) {
    const UA_String text = uaView(url);
    UA_String host = UA_STRING_NULL;
    UA_String path = UA_STRING_NULL;
    UA_UInt16 port = 0;
    return UA_parseEndpointUrl(&text, &host, &port, &path) == UA_STATUSCODE_GOOD && host.length > 0;
}

std::string quoted(const std::string& text, const Text& rest, Language language) {
    return "\"" + text + "\" — " + rest.in(language);
}

/// Checks what CLI11 cannot check. @return what is wrong; empty if nothing is
std::string understand(Options& options, const Texts& texts) {
    const Language language = options.language;
    const bool russian = language == Language::ru;
    if (!isServerUrl(options.url)) {
        return quoted(options.url,
                      {"не адрес вида opc.tcp://узел:порт", "is no address opc.tcp://host:port"},
                      language);
    }
    if (!readListenAddress(texts.listen, options.listen)) {
        return quoted(
            texts.listen,
            {"не числовой адрес и порт вида 127.0.0.1:8080", "is no numeric address and port"},
            language);
    }
    if (!isLoopback(options.listen) && options.passwordFile.empty()) {
        return Text{"другим машинам страница открывается только с --password-file",
                    "other machines are served with --password-file only"}
            .in(language);
    }
    if (options.settings.empty()) {
        options.settings = std::filesystem::path(options.config).parent_path().string();
    }
    if (!texts.counts.empty()) {
        std::string problem = opcuacheck::readCounts(texts.counts, options.database, russian);
        if (!problem.empty()) return problem;
    }
    if (texts.system.empty()) return {};
    return opcuacheck::readAttributeFiles(texts.system, options.database, russian);
}

void declareAll(CommandLine& line, Options& options, Texts& texts) {
    options.url = kDefaultUrl;
    texts.listen = "127.0.0.1:8080";
    declarePlaces(line, options, texts);
    declareParts(line, options, texts);
}

}  // namespace

std::optional<int> readOptions(int argc, const char* const* argv, Options& options) {
    options.language = askedLanguage(argc, argv);
    CommandLine line("opcuaweb", kDescription, kFooter, options.language);
    Texts texts;
    declareAll(line, options, texts);
    if (const auto status = line.parse(argc, argv, kBadUsage)) return status;
    const std::string problem = understand(options, texts);
    if (problem.empty()) return std::nullopt;
    line.refuse(problem);
    return kBadUsage;
}

void describe(Language language, const CommandLineReader& reader) {
    Options options;
    Texts texts;
    CommandLine line("opcuaweb", kDescription, kFooter, language);
    declareAll(line, options, texts);
    reader(line.app());
}

}  // namespace tools::opcuaweb
