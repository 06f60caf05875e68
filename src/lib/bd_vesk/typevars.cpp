#include "lib/bd_vesk/typevars.h"

#include <cstring>

#include "lib/bd_vesk/shmfield.h"

namespace {

/// Copies one element of current data or current value. The side in shared memory is accessed in
/// one piece; the other side may have any alignment.
template <class T>
void readElement(const void* shared, void* dst) {
    const T value = loadField<T>(shared);
    std::memcpy(dst, &value, sizeof(T));
}

template <class T>
void writeElement(void* shared, const void* src) {
    T value;
    std::memcpy(&value, src, sizeof(T));
    storeField<T>(shared, value);
}

template <TYPE_VAL Type>
using ElementOf =
    std::conditional_t<elementSize(Type) == 4, std::uint32_t,
                       std::conditional_t<elementSize(Type) == 2, std::uint16_t, std::uint8_t>>;

template <TYPE_VAL Type>
BOOL getElement(const void* shared, void* dst) {
    if (shared == nullptr || dst == nullptr) return 0;
    readElement<ElementOf<Type>>(shared, dst);
    return 1;
}

template <TYPE_VAL Type>
BOOL setElement(void* shared, const void* src) {
    if (shared == nullptr || src == nullptr) return 0;
    writeElement<ElementOf<Type>>(shared, src);
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
        return elementAt(arrays.PtrCurDat, num, Num, elementSize(kTables[Code - 1].valueType));
    else
        return CTypeOf::getAdrCurVal(num);
}

template <DB_TYPE Code>
void* CTypeOf<Code>::getAdrCurVal(std::uint16_t num) {
    constexpr const TableRow& kRow = kTables[Code - 1];
    if constexpr (kRow.curValIndex != 0) {
        return elementAt(arrays.PtrCurVal, num, Num, elementSize(kRow.valueType));
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
    return getElement<kTables[Code - 1].valueType>(CTypeOf::getAdrCurDat(num), dst);
}

template <DB_TYPE Code>
BOOL CTypeOf<Code>::getCurVal(std::uint16_t num, void* dst) {
    return getElement<kTables[Code - 1].valueType>(CTypeOf::getAdrCurVal(num), dst);
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
    return setElement<kTables[Code - 1].valueType>(CTypeOf::getAdrCurDat(num), src);
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
    return setElement<kTables[Code - 1].valueType>(CTypeOf::getAdrCurVal(num), src);
}

std::unique_ptr<CTypeVars> newTypeVars(unsigned code) {
    switch (code) {
        case DB_VA:
            return std::make_unique<CTypeVA>();
        case DB_AV:
            return std::make_unique<CTypeAV>();
        case DB_HI:
            return std::make_unique<CTypeHI>();
        case DB_DI:
            return std::make_unique<CTypeDI>();
        case DB_DO:
            return std::make_unique<CTypeDO>();
        case DB_TH:
            return std::make_unique<CTypeTH>();
        case DB_TM:
            return std::make_unique<CTypeTM>();
        case DB_TS:
            return std::make_unique<CTypeTS>();
        case DB_FV:
            return std::make_unique<CTypeFV>();
        case DB_IV:
            return std::make_unique<CTypeIV>();
        case DB_LV:
            return std::make_unique<CTypeLV>();
        default:
            return nullptr;
    }
}

template class CTypeOf<DB_VA>;
template class CTypeOf<DB_AV>;
template class CTypeOf<DB_HI>;
template class CTypeOf<DB_DI>;
template class CTypeOf<DB_DO>;
template class CTypeOf<DB_TH>;
template class CTypeOf<DB_TM>;
template class CTypeOf<DB_TS>;
template class CTypeOf<DB_FV>;
template class CTypeOf<DB_IV>;
template class CTypeOf<DB_LV>;
