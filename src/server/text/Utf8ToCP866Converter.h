#pragma once

#include <string>

/// Converts UTF-8 texts written by OPC UA clients to the controller's CP866. Table-driven,
/// independent of locale and platform libraries. No state, any thread.
class Utf8ToCP866Converter {
  public:
    /// Takes any bytes. A character that CP866 lacks becomes one "?"; a byte that starts no
    /// sequence of two or three bytes (so each byte of a four-byte character) becomes one "?" of
    /// its own.
    [[nodiscard]] static std::string convertUtf8ToCP866_manual(const std::string& utf8);
};
