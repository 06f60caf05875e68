// Writes the manual pages of the tools, in both languages, and their completion for bash.
#include <CLI/CLI.hpp>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>

#include "tools/command_line/completion.h"
#include "tools/command_line/manual.h"
#include "tools/opcuacheck/command_line.h"
#include "tools/opcuaview/command_line.h"
#include "tools/opcuaweb/options/options.h"
#include "tools/zrtjournal/command_line.h"
#ifdef OPCUASRV_SIM
#include "sim/options.h"
#endif

namespace {

using tools::CommandLineReader;
using tools::Language;

struct Program {
    const char* name;
    void (*describe)(Language language, const CommandLineReader& reader);
};

constexpr Program kPrograms[] = {
    {"opcuacheck", tools::opcuacheck::describe},
    {"opcuaview", tools::opcuaview::describe},
    {"opcuaweb", tools::opcuaweb::describe},
    {"zrtjournal", tools::zrtjournal::describe},
#ifdef OPCUASRV_SIM
    {"zrtsim", sim::describe},
#endif
};

std::string contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error(path + " cannot be read");
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

void write(const std::string& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary);
    file << text << std::flush;
    if (!file) throw std::runtime_error(path + " cannot be written");
}

struct Arguments {
    std::string sections;  // folder of NAME.en and NAME.ru, and of what is written
    std::string date;
    std::string source;
};

void writePage(const Program& program, Language language, const char* ending,
               const Arguments& arguments) {
    const std::string path = arguments.sections + "/" + program.name;
    const tools::PageFrame frame{arguments.date, arguments.source, contents(path + ending)};
    program.describe(language, [&](const CLI::App& app) {
        write(path + ending + ".1", tools::manualPage(app, language, frame));
    });
}

void writeDocuments(const Program& program, const Arguments& arguments) {
    writePage(program, Language::en, ".en", arguments);
    writePage(program, Language::ru, ".ru", arguments);
    program.describe(Language::en, [&](const CLI::App& app) {
        write(arguments.sections + "/" + program.name + ".bash", tools::bashCompletion(app));
    });
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::cerr
            << "usage: manuals FOLDER DATE SOURCE\n"
               "  FOLDER  holds NAME.en and NAME.ru, the sections written by hand; NAME.en.1,\n"
               "          NAME.ru.1 and NAME.bash are written beside them\n"
               "  DATE, SOURCE  at the foot of the pages\n";
        return 2;
    }
    try {
        for (const Program& program : kPrograms)
            writeDocuments(program, {argv[1], argv[2], argv[3]});
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "manuals: " << error.what() << "\n";
        return 1;
    }
}
