#include "server/text/ToUTF8Converter.h"

#include <iomanip>
#include <sstream>

#include "server/text/cp866_table.h"

std::string ToUTF8Converter::convertCP866ToUtf8_manual(const std::string& cp866) {
    std::string utf8;
    utf8.reserve(3 * cp866.size());
    for (const char c : cp866) {
        const auto byte = static_cast<std::uint8_t>(c);
        if (byte < 0x80) {
            utf8.push_back(c);
        } else {
            append_utf8(utf8, cp866_to_unicode[byte - 0x80U]);
        }
    }
    return utf8;
}

void ToUTF8Converter::append_utf8(std::string& out, std::uint16_t codePoint) {
    const unsigned code = codePoint;
    const auto continuation = [code](unsigned shift) {
        return static_cast<char>(0x80U | ((code >> shift) & 0x3FU));
    };
    if (code < 0x80) {
        out.push_back(static_cast<char>(code));
    } else if (code < 0x800) {
        out.push_back(static_cast<char>(0xC0U | (code >> 6U)));
        out.push_back(continuation(0));
    } else {
        out.push_back(static_cast<char>(0xE0U | (code >> 12U)));
        out.push_back(continuation(6));
        out.push_back(continuation(0));
    }
}

std::string ToUTF8Converter::getHexRepresentation(const std::string& bytes) {
    std::ostringstream dump;
    dump << std::hex << std::uppercase << std::setfill('0');
    const char* separator = "";
    for (const char c : bytes) {
        dump << separator << std::setw(2) << static_cast<unsigned>(static_cast<std::uint8_t>(c));
        separator = " ";
    }
    return dump.str();
}

void ToUTF8Converter::logGroupStart(std::size_t /*length*/) {}

void ToUTF8Converter::logConversion(std::uint8_t /*byte*/, std::uint16_t /*codePoint*/,
                                    const std::string& /*utf8*/) {}
