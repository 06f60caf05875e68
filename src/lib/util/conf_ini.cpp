#include "lib/util/conf_ini.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <optional>
#include <string_view>

#include "lib/util/cp866_text.h"

// ---- Opening -----------------------------------------------------------------------------------

namespace {
enum Result : std::int16_t { kDone = 0, kNoFile = 1, kWasOpen = 2, kNoTable = 3 };
enum Found : int { kFound = 0, kNoSection = 1, kNoKey = 2 };
}  // namespace

IniFile::IniFile(const char* name, int mode) : FileName(name), Mode(mode) {
    std::string text;
    if ((mode & kIniRead) != 0) text += 'r';
    if ((mode & kIniWrite) != 0) text += 'w';
    if ((mode & kIniAppend) != 0) text += 'a';
    text += (mode & kIniBinary) != 0 ? 'b' : 't';
    if ((mode & kIniUpdate) != 0) text += '+';
    std::memcpy(SMode, text.c_str(), text.size() + 1);
}

IniFile::~IniFile() {
    if (FileHead != nullptr) std::fclose(FileHead);
    freeTable();
}

int IniFile::Open() {
    Error = kDone;
    if (FileHead != nullptr) {
        std::printf("IniFile: %s is open already\n", FileName.c_str());
        std::fclose(FileHead);
        Error = kWasOpen;
    }
    freeTable();
    FileHead = std::fopen(FileName.c_str(), SMode);
    if (FileHead == nullptr) {
        Error = kNoFile;
    } else if (!buildTable()) {
        freeTable();
        Error = kNoTable;
    }
    return Error;
}

int IniFile::Close() {
    freeTable();
    Error = FileHead == nullptr || std::fclose(FileHead) != 0 ? 1 : 0;
    FileHead = nullptr;
    return Error;
}

// ---- Sections ----------------------------------------------------------------------------------

// A loop: chained destructors would need as much stack as a file has headers.
void IniFile::freeTable() {
    while (TableSecBeg != nullptr) {
        const TableSec* const first = TableSecBeg;
        TableSecBeg = first->next;
        delete first;
    }
    TableSecCur = TableSecDop = nullptr;
}

/// Stores the header after the "[" that was just read.
/// @return false when it holds a ":" or is not closed
bool IniFile::readHeader(int& line) {
    auto* const section = new TableSec;
    (TableSecDop != nullptr ? TableSecDop->next : TableSecBeg) = section;
    TableSecDop = section;
    for (int c = 0; (c = std::getc(FileHead)) != EOF && c != ':';) {
        if (c == ']') {
            section->pos = std::ftell(FileHead);
            section->str = line;
            return true;
        }
        if (c == '\n') ++line;
        section->text += static_cast<char>(c);
    }
    return false;
}

bool IniFile::buildTable() {
    int line = 1;
    bool isComment = false;
    for (int c = 0; (c = std::getc(FileHead)) != EOF;) {
        if (c == '\n') {
            ++line;
            isComment = false;
        } else if (c == ':') {
            isComment = true;
        } else if (c == '[' && !isComment && !readHeader(line)) {
            // KEPT: a "[" inside a value opens a section too. Required by the interface.
            return false;
        }
    }
    return std::ferror(FileHead) == 0;  // a folder can be opened, but not read
}

namespace {

using Words = std::array<std::string_view, 3>;

/// The words of a header, padded with empty ones; nothing if there are more than three.
std::optional<Words> wordsOf(std::string_view header) {
    Words words;
    std::size_t count = 0;
    for (std::size_t at = 0; (at = header.find_first_not_of(' ', at)) != std::string_view::npos;) {
        if (count == words.size()) return std::nullopt;
        const auto word = header.substr(at, header.find(' ', at) - at);
        words[count++] = word;
        at += word.size();
    }
    return words;
}

bool matches(const Words& words, const std::array<const char*, 3>& wanted) {
    for (std::size_t i = 0; i < words.size(); ++i)
        if (wanted[i] != nullptr && words[i] != wanted[i]) return false;
    return true;
}

}  // namespace

int IniFile::FindSection(const char* s1, const char* s2, const char* s3) {
    for (TableSec* section = TableSecBeg; section != nullptr; section = section->next) {
        const auto words = wordsOf(section->text);
        // KEPT: a header of four words hides all sections after it. Required by the interface.
        if (!words) break;
        if (!matches(*words, {s1, s2, s3})) continue;
        TableSecCur = section;
        return std::fseek(FileHead, section->pos, SEEK_SET) == 0 ? kFound : kNoSection;
    }
    return kNoSection;
}

// ---- Keys and values ---------------------------------------------------------------------------

void IniFile::skipLine() {
    int c = 0;
    do {
        c = std::getc(FileHead);
    } while (c != '\n' && c != EOF);
}

/// Reads up to the next "=".
/// @return false when a header or the end of the file comes first
bool IniFile::nextName(std::string& name) {
    name.clear();
    for (int c = 0; (c = std::getc(FileHead)) != EOF;) {
        if (c == '=') return true;
        if (c == '[' && name.empty()) return false;
        if (c == ':') skipLine();
        if (c == ':' || c == '\n') {
            name.clear();
        } else if (c != ' ') {
            // KEPT: only blanks are dropped. A tab belongs to the name, and such a key is never
            // found. Required by the interface.
            name += static_cast<char>(c);
        }
    }
    return false;
}

namespace {

constexpr std::string_view kBlanks = " \t";

void lrtrim(std::string& text) {
    text.erase(text.find_last_not_of(kBlanks) + 1);
    text.erase(0, text.find_first_not_of(kBlanks));
}

bool isGap(int c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

[[noreturn]] void endForLongLine(std::size_t limit, const char* file) {
    std::printf("Слишком длинная строка (>%d) в файле %s\n\r"_cp866z, static_cast<int>(limit),
                file);
    std::exit(-1);
}

}  // namespace

/// Reads the value after a "=", at most `limit` bytes before its ends are trimmed.
/// @return what ended it: a line feed, a carriage return, ":", EOF, or 0 for the limit
int IniFile::readValue(std::size_t limit, std::string& value) {
    value.clear();
    int c = 0;
    while ((c = std::getc(FileHead)) != EOF && c != '\n' && c != '\r' && c != ':') {
        if (c == '&') {
            while (isGap(c = std::getc(FileHead)))
                continue;
            std::ungetc(c, FileHead);
            continue;
        }
        value += static_cast<char>(c);
        if (value.size() == limit) {
            lrtrim(value);
            return 0;
        }
    }
    // KEPT: never true, because the value was cut above. Required by the interface.
    if (value.size() > limit) endForLongLine(limit, FileName.c_str());
    lrtrim(value);
    return c;
}

int IniFile::find(const char* s1, const char* s2, const char* s3, const char* key,
                  std::size_t limit, std::string& value) {
    if (FileHead == nullptr || FindSection(s1, s2, s3) != kFound) return kNoSection;
    for (std::string name; nextName(name); skipLine()) {
        if (name != key) continue;
        static_cast<void>(readValue(limit, value));  // nothing is read after it
        return kFound;
    }
    return kNoKey;
}

namespace {

void copyText(const std::string& text, char* buffer) {
    // A NUL inside the file ends the text for every reader of the buffer.
    std::memcpy(buffer, text.c_str(), text.size() + 1);
}

}  // namespace

int IniFile::CfgGet(const char* s1, const char* s2, const char* s3, const char* key, char* value) {
    std::string text;
    const int result = find(s1, s2, s3, key, kValueMax, text);
    if (result == kFound) copyText(text, value);
    return result;
}

int IniFile::CfgGetMax(const char* s1, const char* s2, const char* s3, const char* key,
                       char* value) {
    std::string text;
    const int result = find(s1, s2, s3, key, kLongValueMax, text);
    if (result == kFound) copyText(text, value);
    return result;
}

template <class Number, class Convert>
int IniFile::getNumber(const char* s1, const char* s2, const char* s3, const char* key,
                       Number& value, Convert convert) {
    std::string text;
    const int result = find(s1, s2, s3, key, kValueMax, text);
    if (result == kFound) value = static_cast<Number>(convert(text.c_str()));
    return result;
}

namespace {

// What atoi answers, also where atoi is free to answer anything: the low 32 bits.
int toInt(const char* text) {
    constexpr int kDecimal = 10;
    return static_cast<int>(std::strtol(text, nullptr, kDecimal));
}

}  // namespace

int IniFile::CfgGet(const char* s1, const char* s2, const char* s3, const char* key, int& value) {
    return getNumber(s1, s2, s3, key, value, toInt);
}
int IniFile::CfgGet(const char* s1, const char* s2, const char* s3, const char* key, short& value) {
    return getNumber(s1, s2, s3, key, value, toInt);
}
int IniFile::CfgGet(const char* s1, const char* s2, const char* s3, const char* key, long& value) {
    // KEPT: read as 32 bits like the others, on every machine. Required by the interface.
    return getNumber(s1, s2, s3, key, value, toInt);
}
int IniFile::CfgGet(const char* s1, const char* s2, const char* s3, const char* key, float& value) {
    return getNumber(s1, s2, s3, key, value,
                     [](const char* text) { return std::strtod(text, nullptr); });
}

int IniFile::GetNextKey(char* key, char* value) {
    std::string name;
    if (FileHead == nullptr || !nextName(name)) return kNoKey;
    std::string text;
    const int end = readValue(kValueMax, text);
    if (end == ':' || end == 0) skipLine();
    name.resize(std::min(name.size(), kValueMax));
    copyText(name, key);
    copyText(text, value);
    return kFound;
}

// ---- Lists of numbers --------------------------------------------------------------------------

namespace {

/// A number from 1 to `max` that fills the text but for blanks at its ends.
std::optional<int> numberIn(std::string text, int max) {
    lrtrim(text);
    int number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    const bool isNumber = error == std::errc{} && stop == end && number >= 1 && number <= max;
    return isNumber ? std::optional(number) : std::nullopt;
}

/// Appends "7" or "7-9".
bool appendItem(const std::string& item, int max, std::vector<int>& list) {
    const auto dash = item.find('-');
    const auto first = numberIn(item.substr(0, dash), max);
    const auto last = dash == std::string::npos ? first : numberIn(item.substr(dash + 1), max);
    if (!first || !last || *first > *last) return false;
    const auto from = list.size();
    list.resize(from + static_cast<std::size_t>(*last - *first) + 1);
    std::iota(list.begin() + static_cast<std::ptrdiff_t>(from), list.end(), *first);
    return true;
}

}  // namespace

int IniFile::ConvertStrToListVar(const char* text, int max, std::vector<int>& list) {
    list.clear();
    std::string rest = text;
    lrtrim(rest);
    if (rest == "ALL" || rest == "All" || rest == "all") {
        list.resize(static_cast<std::size_t>(std::max(max, 0)));
        std::iota(list.begin(), list.end(), 1);
        return 0;
    }
    for (std::size_t at = 0, comma = 0; comma != std::string::npos; at = comma + 1) {
        comma = rest.find(',', at);
        if (appendItem(rest.substr(at, comma - at), max, list)) continue;
        list.clear();
        return 1;
    }
    return 0;
}
