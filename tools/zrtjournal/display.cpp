#include "tools/zrtjournal/display.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <nlohmann/json.hpp>
#include <ostream>

#include "tools/zrtjournal/message_text.h"

namespace tools::zrtjournal {

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
    return language == Language::ru ? russianText(message) : englishText(message);
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

namespace {

using Json = nlohmann::ordered_json;

std::string oneLine(const Json& object) {
    return object.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Json variableOf(const SRolMessage& message, const std::string& designationCp866) {
    if (message.VarType < 0) return nullptr;
    return {{"type", message.VarType},
            {"number", message.VarNumber},
            {"name", variableName(message)},
            {"designation", designationCp866.empty() ? Json() : Json(readable(designationCp866))}};
}

}  // namespace

std::string jsonLine(const SRolMessage& message, const std::string& designationCp866,
                     Language language) {
    const timeval_32 stamp = message.PseudoTimeStamp;
    const auto text = knownText(message, language);
    return oneLine(
        {{"time", timeText(message.Date, gmtime_r, "%Y-%m-%dT%H:%M:%S") + "Z"},
         {"stamp", Json::array({std::int64_t{stamp.tv_sec}, std::int64_t{stamp.tv_usec}})},
         {"dictionary", unsigned{message.DicNumber}},
         {"code", std::uint32_t{message.MessageCode}},
         {"variable", variableOf(message, designationCp866)},
         {"arguments", argumentsJson(message)},
         {"text", text ? Json(*text) : Json()}});
}

// ---- Copies ------------------------------------------------------------------------------------

namespace {

constexpr Text kMainCopy{"основная копия", "main copy"};
constexpr Text kReserveCopy{"резервная копия", "reserve copy"};
constexpr Text kIsShown{"показана", "shown"};
constexpr Text kNothingToShow{"показать нечего", "nothing can be shown"};
constexpr Text kNoFiles{"файлов нет", "no files"};
constexpr Text kGood{"цела", "good"};
constexpr Text kDamaged{"повреждена", "damaged"};
constexpr Text kMessages{"сообщений", "messages"};
constexpr Text kSave{"запись №", "save "};
constexpr Text kNoMessagesFile{"нет файла сообщений", "no messages file"};
constexpr Text kShortHeader{"файл сообщений обрывается в заголовке",
                            "the messages file ends in its header"};
constexpr Text kBadHeader{"неверен заголовок файла сообщений",
                          "the header of the messages file is wrong"};
constexpr Text kCut{"файл сообщений обрывается после сообщения ",
                    "the messages file ends after message "};
constexpr Text kOverflow{"неверны аргументы после сообщения ",
                         "the arguments are wrong after message "};
constexpr Text kNoCrc{"нет контрольного файла", "no CRC file"};
constexpr Text kBadCrc{"повреждён контрольный файл", "the CRC file is damaged"};
constexpr Text kNoCounters{"нет файла счётчиков", "no counters file"};
constexpr Text kBadCounters{"неверна длина файла счётчиков",
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
    const auto add = [&](bool is, const Text& problem) {
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
        out << oneLine({{"copy", copy.isReserve ? "reserve" : "main"},
                        {"file", copy.messagesPath},
                        {"good", copy.isGood()},
                        {"shown", i == shown},
                        {"messages", copy.messages.messages.size()},
                        {"save", hasNumber ? Json(copy.mark.saveNumber) : Json()},
                        {"state", stateOf(copy, language)}})
            << "\n";
    }
}

}  // namespace tools::zrtjournal
