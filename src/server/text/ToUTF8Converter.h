#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// Converts the controller's texts (CP866) to UTF-8 for everything that leaves the server: OPC UA
/// strings and the log. Table-driven, independent of locale and platform libraries. No state, any
/// thread; fails only for lack of memory.
class ToUTF8Converter {
  public:
    /// Every byte has a meaning in CP866, so every text converts. A NUL byte passes through: a
    /// caller that makes a C string of the result stops there.
    [[nodiscard]] static std::string convertCP866ToUtf8_manual(const std::string& cp866);

    /// Appends the one to three UTF-8 bytes of a code point of the basic plane. Surrogates are not
    /// checked for; the CP866 table holds none.
    static void append_utf8(std::string& out, std::uint16_t codePoint);

    /// The bytes as two upper-case hexadecimal digits each, separated by blanks: "8F 20 41".
    [[nodiscard]] static std::string getHexRepresentation(const std::string& bytes);

    /// Logging hooks that do nothing; required by the interface.
    static void logGroupStart(std::size_t length);
    static void logConversion(std::uint8_t byte, std::uint16_t codePoint, const std::string& utf8);
};
