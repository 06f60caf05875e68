#include "tools/zrtjournal/display.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <ostream>

#include "tools/json/json_text.h"
#include "tools/zrtjournal/message_text.h"

namespace zrtjournal {

// ---- Messages ----------------------------------------------------------------------------------

namespace {

using BreakDown = std::tm* (*)(const std::time_t*, std::tm*);

std::string timeText(const TFullTime& date, BreakDown breakDown, const char* format) {
    const std::time_t seconds = date.sec;
    std::tm time{};
    breakDown(&seconds, &time);
    std::array<char, 40> day{};
    static_cast<void>(std::strftime(day.data(), day.size(), format, &time));
    std::array<char, 8> milliseconds{};
    static_cast<void>(
        std::snprintf(milliseconds.data(), milliseconds.size(), ".%03u", unsigned{date.msec}));
    return std::string(day.data()) + milliseconds.data();
}

std::optional<std::string> knownText(const SRolMessage& message, Language language) {
    return language == Language::russian ? russianText(message) : englishText(message);
}

}  // namespace

std::string textLine(const SRolMessage& message, const std::string& designationCp866,
                     Language language) {
    std::string line = timeText(message.Date, localtime_r, "%d-%m-%Y %H:%M:%S") + "  " +
                       std::to_string(message.DicNumber) + "/" +
                       std::to_string(message.MessageCode);
    if (const std::string name = variableName(message); !name.empty()) {
        line += "  " + name;
        if (!designationCp866.empty()) line += " " + readable(designationCp866);
    }
    const auto text = knownText(message, language);
    const std::string rest = text ? *text : argumentList(message);
    return rest.empty() ? line : line + "  " + rest;
}

std::string jsonLine(const SRolMessage& message, const std::string& designationCp866,
                     Language language) {
    const timeval_32 stamp = message.PseudoTimeStamp;
    std::string variable = "null";
    if (message.VarType >= 0) {
        variable = R"({"type": )" + std::to_string(message.VarType) + R"(, "number": )" +
                   std::to_string(message.VarNumber) + R"(, "name": )" +
                   jsonText(variableName(message)) + R"(, "designation": )" +
                   (designationCp866.empty() ? "null" : jsonText(readable(designationCp866))) + "}";
    }
    const auto text = knownText(message, language);
    return R"({"time": )" + jsonText(timeText(message.Date, gmtime_r, "%Y-%m-%dT%H:%M:%S") + "Z") +
           R"(, "stamp": [)" + std::to_string(stamp.tv_sec) + ", " + std::to_string(stamp.tv_usec) +
           R"(], "dictionary": )" + std::to_string(message.DicNumber) + R"(, "code": )" +
           std::to_string(message.MessageCode) + R"(, "variable": )" + variable +
           R"(, "arguments": )" + argumentsJson(message) + R"(, "text": )" +
           (text ? jsonText(*text) : "null") + "}";
}

// ---- Copies ------------------------------------------------------------------------------------

namespace {

/// A text in both languages.
struct Words {
    const char* russian;
    const char* english;
    std::string in(Language language) const {
        return language == Language::russian ? russian : english;
    }
};

constexpr Words kMainCopy{"основная копия", "main copy"};
constexpr Words kReserveCopy{"резервная копия", "reserve copy"};
constexpr Words kIsShown{"показана", "shown"};
constexpr Words kNothingToShow{"показать нечего", "nothing can be shown"};
constexpr Words kNoFiles{"файлов нет", "no files"};
constexpr Words kGood{"цела", "good"};
constexpr Words kDamaged{"повреждена", "damaged"};
constexpr Words kMessages{"сообщений", "messages"};
constexpr Words kSave{"запись №", "save "};
constexpr Words kNoMessagesFile{"нет файла сообщений", "no messages file"};
constexpr Words kShortHeader{"файл сообщений обрывается в заголовке",
                             "the messages file ends in its header"};
constexpr Words kBadHeader{"неверен заголовок файла сообщений",
                           "the header of the messages file is wrong"};
constexpr Words kCut{"файл сообщений обрывается после сообщения ",
                     "the messages file ends after message "};
constexpr Words kOverflow{"неверны аргументы после сообщения ",
                          "the arguments are wrong after message "};
constexpr Words kNoCrc{"нет контрольного файла", "no CRC file"};
constexpr Words kBadCrc{"повреждён контрольный файл", "the CRC file is damaged"};
constexpr Words kNoCounters{"нет файла счётчиков", "no counters file"};
constexpr Words kBadCounters{"неверна длина файла счётчиков",
                             "the counters file has a wrong length"};

std::string messagesProblem(const SavedCopy& copy, Language language) {
    const std::string read = std::to_string(copy.messages.messages.size());
    switch (copy.messages.error) {
        case kRolDone:
            return {};
        case kRolCannotOpen:
            return kNoMessagesFile.in(language);
        case kRolShortHeader:
            return kShortHeader.in(language);
        case kRolBadHeader:
            return kBadHeader.in(language);
        case kRolArgumentsOverflow:
            return kOverflow.in(language) + read;
        default:
            return kCut.in(language) + read;
    }
}

std::string problemsOf(const SavedCopy& copy, Language language) {
    std::string all = messagesProblem(copy, language);
    const auto add = [&](bool is, const Words& problem) {
        if (!is) return;
        if (!all.empty()) all += ", ";
        all += problem.in(language);
    };
    add(copy.crc == SavedCopy::Crc::missing, kNoCrc);
    add(copy.crc == SavedCopy::Crc::damaged, kBadCrc);
    add(copy.counters == SavedCopy::Counters::missing, kNoCounters);
    add(copy.counters == SavedCopy::Counters::damaged, kBadCounters);
    return all;
}

}  // namespace

std::string stateOf(const SavedCopy& copy, Language language) {
    if (copy.isAbsent()) return kNoFiles.in(language);
    const std::string messages =
        kMessages.in(language) + " " + std::to_string(copy.messages.messages.size());
    const std::string save = copy.crc == SavedCopy::Crc::good
                                 ? ", " + kSave.in(language) + std::to_string(copy.mark.saveNumber)
                                 : "";
    if (copy.isGood()) return kGood.in(language) + ": " + messages + save;
    return kDamaged.in(language) + ": " + problemsOf(copy, language) + "; " + messages + save;
}

void printCopies(std::ostream& out, const SavedCopies& copies, std::size_t shown,
                 Language language) {
    for (std::size_t i = 0; i < copies.size(); ++i) {
        const SavedCopy& copy = copies.at(i);
        out << copy.messagesPath << ", " << (copy.isReserve ? kReserveCopy : kMainCopy).in(language)
            << (i == shown ? " (" + kIsShown.in(language) + ")" : "") << " - "
            << stateOf(copy, language) << "\n";
    }
    if (shown == copies.size()) out << kNothingToShow.in(language) << "\n";
}

void printCopiesJson(std::ostream& out, const SavedCopies& copies, std::size_t shown,
                     Language language) {
    for (std::size_t i = 0; i < copies.size(); ++i) {
        const SavedCopy& copy = copies.at(i);
        const bool hasNumber = copy.crc == SavedCopy::Crc::good;
        out << R"({"copy": )" << (copy.isReserve ? R"("reserve")" : R"("main")") << R"(, "file": )"
            << jsonText(copy.messagesPath) << R"(, "good": )" << (copy.isGood() ? "true" : "false")
            << R"(, "shown": )" << (i == shown ? "true" : "false") << R"(, "messages": )"
            << copy.messages.messages.size() << R"(, "save": )"
            << (hasNumber ? std::to_string(copy.mark.saveNumber) : "null") << R"(, "state": )"
            << jsonText(stateOf(copy, language)) << "}\n";
    }
}

}  // namespace zrtjournal
