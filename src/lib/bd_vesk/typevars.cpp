#include "lib/bd_vesk/typevars.h"

#include <cstring>

#include "lib/bd_vesk/shmfield.h"

namespace {

BOOL getElement(const void* shared, void* dst, std::size_t size) {
    if (shared == nullptr || dst == nullptr) return 0;
    loadBytes(dst, shared, size);
    return 1;
}

BOOL setElement(void* shared, const void* src, std::size_t size) {
    if (shared == nullptr || src == nullptr) return 0;
    storeBytes(shared, src, size);
    return 1;
}

void* elementAt(std::uint8_t* array, std::uint16_t num, std::uint16_t count, std::size_t size) {
    if (num == 0 || num > count || array == nullptr) return nullptr;
    return array + (num - 1U) * size;
}

}  // namespace

template <DB_TYPE Code>
void CTypeOf<Code>::InitPasp(void* array) {
    arrays.PtrPasp = static_cast<std::uint8_t*>(array);
}

template <DB_TYPE Code>
void CTypeOf<Code>::InitCurDat(void* array) {
    if constexpr (kTables[Code - 1].curDatIndex != 0)
        arrays.PtrCurDat = static_cast<std::uint8_t*>(array);
}

template <DB_TYPE Code>
void CTypeOf<Code>::InitCurVal(void* array) {
    if constexpr (kTables[Code - 1].curValIndex != 0)
        arrays.PtrCurVal = static_cast<std::uint8_t*>(array);
}

template <DB_TYPE Code>
void* CTypeOf<Code>::getAdrPasp(std::uint16_t num) {
    return elementAt(arrays.PtrPasp, num, Num, kTables[Code - 1].passportSize);
}

// A type without its own current data uses its current value, and a type without either uses the
// value's field in the passport.
template <DB_TYPE Code>
void* CTypeOf<Code>::getAdrCurDat(std::uint16_t num) {
    if constexpr (kTables[Code - 1].curDatIndex != 0)
        return elementAt(arrays.PtrCurDat, num, Num, valueSize(kTables[Code - 1].valueType));
    else
        return CTypeOf::getAdrCurVal(num);
}

template <DB_TYPE Code>
void* CTypeOf<Code>::getAdrCurVal(std::uint16_t num) {
    constexpr const TableRow& kRow = kTables[Code - 1];
    if constexpr (kRow.curValIndex != 0) {
        return elementAt(arrays.PtrCurVal, num, Num, valueSize(kRow.valueType));
    } else {
        void* const passport = CTypeOf::getAdrPasp(num);
        return passport == nullptr ? nullptr
                                   : static_cast<std::uint8_t*>(passport) + kRow.valueOffset;
    }
}

template <DB_TYPE Code>
BOOL CTypeOf<Code>::getPasp(std::uint16_t num, void* dst) {
    const void* const passport = CTypeOf::getAdrPasp(num);
    if (passport == nullptr || dst == nullptr) return 0;
    std::memcpy(dst, passport, kTables[Code - 1].passportSize);
    return 1;
}

template <DB_TYPE Code>
BOOL CTypeOf<Code>::getCurDat(std::uint16_t num, void* dst) {
    return getElement(CTypeOf::getAdrCurDat(num), dst, valueSize(kTables[Code - 1].valueType));
}

template <DB_TYPE Code>
BOOL CTypeOf<Code>::getCurVal(std::uint16_t num, void* dst) {
    return getElement(CTypeOf::getAdrCurVal(num), dst, valueSize(kTables[Code - 1].valueType));
}

template <DB_TYPE Code>
BOOL CTypeOf<Code>::setPasp(std::uint16_t num, void* src) {
    void* const passport = CTypeOf::getAdrPasp(num);
    if (passport == nullptr || src == nullptr) return 0;
    std::memcpy(passport, src, kTables[Code - 1].passportSize);
    return 1;
}

template <DB_TYPE Code>
BOOL CTypeOf<Code>::setCurDat(std::uint16_t num, void* src) {
    return setElement(CTypeOf::getAdrCurDat(num), src, valueSize(kTables[Code - 1].valueType));
}

template <DB_TYPE Code>
BOOL CTypeOf<Code>::setCurDatScale(std::uint16_t num, void* src, float low, float high) {
    if constexpr (Code == DB_VA) {
        const void* const passport = CTypeOf::getAdrPasp(num);
        if (passport == nullptr || src == nullptr) return 0;
        const auto* const bytes = static_cast<const std::uint8_t*>(passport);
        const auto lowEnd = loadField<float>(bytes + offsetof(ANALOG, NSHK));
        const auto highEnd = loadField<float>(bytes + offsetof(ANALOG, KSHK));
        float value = 0;
        std::memcpy(&value, src, sizeof(value));
        // KEPT: this is not the inverse of the scaling in the other direction. Required by the
        // interface. An empty scale gives an infinite value or NaN.
        float scaled = ((value - low) * (high - low)) / (highEnd - lowEnd) + lowEnd;
        return CTypeOf::setCurDat(num, &scaled);
    } else {
        static_cast<void>(num), static_cast<void>(src);
        static_cast<void>(low), static_cast<void>(high);
        return 0;
    }
}

template <DB_TYPE Code>
BOOL CTypeOf<Code>::setCurVal(std::uint16_t num, void* src) {
    return setElement(CTypeOf::getAdrCurVal(num), src, valueSize(kTables[Code - 1].valueType));
}

#define VESK_CASE(Name) \
    case DB_##Name:     \
        return std::make_unique<CType##Name>();
std::unique_ptr<CTypeVars> newTypeVars(unsigned code) {
    switch (code) {
        VESK_TABLES(VESK_CASE)
        default:
            return nullptr;
    }
}
#undef VESK_CASE

#define VESK_DEFINE(Name) template class CTypeOf<DB_##Name>;
VESK_TABLES(VESK_DEFINE)
#undef VESK_DEFINE
