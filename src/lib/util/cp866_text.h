#pragma once

#include <cstddef>

/// A text of the UTF-8 sources as bytes of CP866, the code page of the controller's consoles, made
/// by the compiler. A character other than ASCII, the Russian letters and the numero sign does not
/// compile.
template <std::size_t N>
struct Cp866Text {
    char bytes[N]{};  ///< NUL-terminated; CP866 is never longer than UTF-8

    // Implicit: a string literal becomes the template argument of operator""_cp866z.
    consteval Cp866Text(const char (&utf8)[N]) {
        std::size_t to = 0;
        for (std::size_t from = 0; from < N && utf8[from] != '\0'; ++from) {
            unsigned point = static_cast<unsigned char>(utf8[from]);
            for (int more = followers(point); more > 0; --more)
                point = (point << 6U) | (static_cast<unsigned char>(utf8[++from]) & 0x3FU);
            bytes[to++] = static_cast<char>(cp866(point));
        }
    }

  private:
    /// Bytes that follow the first one of a character; leaves the bits of the first one.
    static constexpr int followers(unsigned& first) {
        if (first < 0x80U) return 0;
        const bool isTwo = first < 0xE0U;
        first &= isTwo ? 0x1FU : 0x0FU;
        return isTwo ? 1 : 2;
    }
    static constexpr unsigned cp866(unsigned point) {
        if (point < 0x80U) return point;
        if (point >= 0x410U && point < 0x440U) return point - 0x410U + 0x80U;
        if (point >= 0x440U && point < 0x450U) return point - 0x440U + 0xE0U;
        if (point == 0x401U || point == 0x451U) return point == 0x401U ? 0xF0U : 0xF1U;
        if (point == 0x2116U) return 0xFCU;
        throw "this character is not supported here";  // ends the compilation
    }
};

template <Cp866Text Text>
inline constexpr Cp866Text kCp866Text = Text;

/// "ЦП"_cp866z: a NUL-terminated text of static storage.
template <Cp866Text Text>
consteval const char* operator""_cp866z() {
    return kCp866Text<Text>.bytes;
}
