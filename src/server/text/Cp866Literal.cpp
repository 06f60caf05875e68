#include "server/text/Cp866Literal.h"

#include "server/text/Utf8ToCP866Converter.h"

std::string operator""_cp866(const char* utf8, std::size_t length) {
    return Utf8ToCP866Converter::convertUtf8ToCP866_manual({utf8, length});
}
