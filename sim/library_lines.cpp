#include "sim/library_lines.h"

#include <sys/types.h>

#include <array>
#include <cstddef>
#include <cstdio>
#include <iostream>

#include "server/text/ToUTF8Converter.h"

namespace sim {

namespace {

ssize_t writeAsUtf8(void* /*cookie*/, const char* bytesCp866, std::size_t size) {
    std::cout << ToUTF8Converter::convertCP866ToUtf8_manual({bytesCp866, size}) << std::flush;
    return static_cast<ssize_t>(size);
}

}  // namespace

void showLibraryLines() {
    cookie_io_functions_t functions{};
    functions.write = writeAsUtf8;
    // std::cout keeps the stream that it was made with.
    std::FILE* stream = fopencookie(nullptr, "w", functions);
    if (stream == nullptr) return;  // the lines then stay in CP866
    // Not every C library changes the mode of a stream if it is not given a buffer.
    static std::array<char, BUFSIZ> lineBuffer;
    static_cast<void>(std::setvbuf(stream, lineBuffer.data(), _IOLBF, lineBuffer.size()));
    stdout = stream;
}

}  // namespace sim
