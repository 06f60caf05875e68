#pragma once

#include <cstddef>
#include <cstdint>

/// Types of a message's arguments, by the code in the record.
enum TRolArgType : std::uint8_t {
    RT_NOTYPE = 0,
    RT_CHAR = 1,
    RT_UCHAR = 2,
    RT_SHORT = 3,
    RT_USHORT = 4,
    RT_LONG = 5,
    RT_ULONG = 6,
    RT_FLOAT = 7,
    RT_DOUBLE = 8,
    RT_STR = 9,   ///< CP866 with a closing NUL, which is stored and counted
    RT_END = 10,  ///< ends a list of arguments; never stored
    RT_INT = 11,
    RT_UINT = 12,
};

/// Bytes of data of a number; 0 for texts and for codes that are not numbers. A long has 4 on every
/// machine.
[[nodiscard]] std::size_t RolNumberSize(TRolArgType type);

/// One argument of a message to be posted: the type comes from the C++ type of the value.
///
///   Rolling.Message(18091, new CRolArg(controller), new CRolArg("1.0-0"), new CRolArg(RT_END));
class CRolArg {
  public:
    /// The end of a list (RT_END). Other types make an argument without data, which every message
    /// refuses.
    explicit CRolArg(TRolArgType type) : type_(type) {}
    explicit CRolArg(char value) : CRolArg(RT_CHAR, &value) {}
    explicit CRolArg(signed char value) : CRolArg(RT_CHAR, &value) {}
    explicit CRolArg(unsigned char value) : CRolArg(RT_UCHAR, &value) {}
    explicit CRolArg(short value) : CRolArg(RT_SHORT, &value) {}
    explicit CRolArg(unsigned short value) : CRolArg(RT_USHORT, &value) {}
    explicit CRolArg(int value) : CRolArg(RT_INT, &value) {}
    explicit CRolArg(unsigned value) : CRolArg(RT_UINT, &value) {}
    /// Its low 32 bits.
    explicit CRolArg(long value) : CRolArg(RT_LONG, &value) {}
    explicit CRolArg(unsigned long value) : CRolArg(RT_ULONG, &value) {}
    explicit CRolArg(float value) : CRolArg(RT_FLOAT, &value) {}
    explicit CRolArg(double value) : CRolArg(RT_DOUBLE, &value) {}
    /// @param textCp866  not copied: must stay until the message is posted. Null is an empty text.
    explicit CRolArg(const char* textCp866);

    TRolArgType type() const { return type_; }
    /// The data as the record takes it, valid as long as this object and its text.
    const void* data() const;
    /// Bytes of the data; 0 without data. The closing NUL of a text counts.
    std::size_t size() const { return size_; }

  private:
    CRolArg(TRolArgType type, const void* value);

    TRolArgType type_;
    std::size_t size_ = 0;
    unsigned char number_[8]{};
    const char* text_ = nullptr;
};
