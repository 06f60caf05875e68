#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <type_traits>

#include "lib/bd_vesk/bdvstype.h"

/// What differs between the eleven tables of the database.
struct TableRow {
    DB_TYPE code;
    std::string_view name;
    std::size_t passportSize;  // bytes of one passport element
    int passportIndex;         // IPC index
    int curDatIndex;           // IPC index of the current data's own array; 0: it has none
    int curValIndex;           // IPC index of the current value's own array; 0: it has none
    TYPE_VAL valueType;        // of current data and current value, that is of attribute 0
    std::size_t valueOffset;   // of the value in the passport element, where it has no own array
    int fileEntry;             // entry of its attributes in the description files; -1: none
};

// clang-format off
inline constexpr std::array<TableRow, kTypeCount> kTables{{
    {DB_VA, "VA", sizeof(ANALOG),      10, 11, 12, type_float, 0,                         0},
    {DB_AV, "AV", sizeof(ANALOG_OUT),  13,  0,  0, type_float, offsetof(ANALOG_OUT, IM),  7},
    {DB_HI, "HI", sizeof(HAND_INP),    14,  0, 15, type_float, 0,                         2},
    {DB_DI, "DI", sizeof(DIS_FV),      16, 17, 18, type_char,  0,                         1},
    {DB_DO, "DO", sizeof(DIS_OUT),     19, 20, 21, type_char,  0,                         5},
    {DB_TH, "TH", sizeof(float),       22,  0,  0, type_float, 0,                        -1},
    {DB_TM, "TM", sizeof(float),       23,  0,  0, type_float, 0,                        -1},
    {DB_TS, "TS", sizeof(float),       24,  0,  0, type_float, 0,                        -1},
    {DB_FV, "FV", sizeof(float),       25,  0,  0, type_float, 0,                        -1},
    {DB_IV, "IV", sizeof(std::int16_t),26,  0,  0, type_short, 0,                        -1},
    {DB_LV, "LV", sizeof(char),        27,  0,  0, type_char,  0,                        -1},
}};
// clang-format on

/// The row of a type code; null for an unknown code.
[[nodiscard]] constexpr const TableRow* tableRow(unsigned code) {
    return code >= 1 && code <= kTypeCount ? &kTables[code - 1] : nullptr;
}

[[nodiscard]] constexpr bool rowsInCodeOrder() {
    for (unsigned code = 1; code <= kTypeCount; ++code)
        if (tableRow(code)->code != code) return false;
    return true;
}
static_assert(rowsInCodeOrder(), "kTables is indexed by type code - 1");

/// Root of the libraries' classes: nothing but the virtual table.
class Object {
  public:
    Object() = default;
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;
    virtual ~Object() = default;
};

/// The table of one database type. The arrays are in shared memory, which the database process owns
/// and all processes use without locks; they are neither attached nor detached here.
///
/// `num` counts from 1. Every operation fails (0, or a null address) for number 0, for one above
/// the count, for an array that was never given, and for a null `src` or `dst`; nothing is copied
/// then. `src` and `dst` hold one element of the type and need not be aligned. The order of the
/// operations is that of the virtual table and must not change.
class CTypeVars : public Object {
  public:
    /// Bytes of the table object itself.
    [[nodiscard]] virtual std::size_t SizeOf() const = 0;

    /// Set the arrays; an array that the type does not have is ignored.
    virtual void InitPasp(void* array) = 0;
    virtual void InitCurDat(void* array) = 0;
    virtual void InitCurVal(void* array) = 0;

    virtual void* getAdrPasp(std::uint16_t num) = 0;
    virtual void* getAdrCurDat(std::uint16_t num) = 0;
    virtual void* getAdrCurVal(std::uint16_t num) = 0;

    virtual BOOL getPasp(std::uint16_t num, void* dst) = 0;
    virtual BOOL getCurDat(std::uint16_t num, void* dst) = 0;
    virtual BOOL getCurVal(std::uint16_t num, void* dst) = 0;

    virtual BOOL setPasp(std::uint16_t num, void* src) = 0;
    virtual BOOL setCurDat(std::uint16_t num, void* src) = 0;
    /// Scaled write of the current data from a float. VA only: other types store nothing and return
    /// 0.
    virtual BOOL setCurDatScale(std::uint16_t num, void* src, float low, float high) = 0;
    virtual BOOL setCurVal(std::uint16_t num, void* src) = 0;

    /// Sets the number of variables; the arrays must have at least as many elements.
    virtual void setmaxnum(std::uint16_t count) = 0;

    /// The type code, and the number of variables.
    [[nodiscard]] virtual std::uint16_t typeAt() const = 0;
    [[nodiscard]] virtual std::uint16_t maxnumAt() const = 0;
};

/// A new, empty table of the type; null for an unknown code.
[[nodiscard]] std::unique_ptr<CTypeVars> newTypeVars(unsigned code);

namespace bd_vesk_detail {

struct PassportArray {
    std::uint8_t* PtrPasp = nullptr;
};
struct PassportAndValueArrays {
    std::uint8_t* PtrPasp = nullptr;
    std::uint8_t* PtrCurVal = nullptr;
};
struct ThreeArrays {
    std::uint8_t* PtrPasp = nullptr;
    std::uint8_t* PtrCurDat = nullptr;
    std::uint8_t* PtrCurVal = nullptr;
};

template <DB_TYPE Code>
using ArraysOf = std::conditional_t<
    kTables[Code - 1].curDatIndex != 0, ThreeArrays,
    std::conditional_t<kTables[Code - 1].curValIndex != 0, PassportAndValueArrays, PassportArray>>;

}  // namespace bd_vesk_detail

/// The implementation of all tables; what differs is in their rows of kTables. Defined in
/// typevars.cpp, for the eleven codes.
template <DB_TYPE Code>
class CTypeOf : public CTypeVars {
  public:
    void InitPasp(void* array) override;
    void InitCurDat(void* array) override;
    void InitCurVal(void* array) override;

    void* getAdrPasp(std::uint16_t num) override;
    void* getAdrCurDat(std::uint16_t num) override;
    void* getAdrCurVal(std::uint16_t num) override;

    BOOL getPasp(std::uint16_t num, void* dst) override;
    BOOL getCurDat(std::uint16_t num, void* dst) override;
    BOOL getCurVal(std::uint16_t num, void* dst) override;

    BOOL setPasp(std::uint16_t num, void* src) override;
    BOOL setCurDat(std::uint16_t num, void* src) override;
    BOOL setCurDatScale(std::uint16_t num, void* src, float low, float high) override;
    BOOL setCurVal(std::uint16_t num, void* src) override;

    void setmaxnum(std::uint16_t count) override { Num = count; }
    [[nodiscard]] std::uint16_t typeAt() const override { return TypeV; }
    [[nodiscard]] std::uint16_t maxnumAt() const override { return Num; }

  protected:
    bd_vesk_detail::ArraysOf<Code> arrays;  // not owned
    std::uint16_t Num = 0;
    std::uint16_t TypeV = Code;
};

/// The classes by name: ROW(VA) is CTypeVA of the code DB_VA.
#define VESK_TABLES(ROW) \
    ROW(VA) ROW(AV) ROW(HI) ROW(DI) ROW(DO) ROW(TH) ROW(TM) ROW(TS) ROW(FV) ROW(IV) ROW(LV)

#define VESK_TABLE(Name)                                                            \
    class CType##Name final : public CTypeOf<DB_##Name> {                           \
      public:                                                                       \
        [[nodiscard]] std::size_t SizeOf() const override { return sizeof(*this); } \
    };
VESK_TABLES(VESK_TABLE)
#undef VESK_TABLE
