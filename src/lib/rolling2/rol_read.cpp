// Reading the ring: raw for other processes, and message by message.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "lib/rolling2/rol_lock.h"

// ---- Raw ---------------------------------------------------------------------------------------

void CRolManager::CorrectTime(TFullTime&) {}

unsigned CRolManager::GetRawData(char* buffer, unsigned short from, unsigned long size) {
    if (Messages == nullptr) return 0;
    const Lock lock(*this);
    if (!holds(from)) return 0;
    constexpr std::size_t kStampSize = sizeof(SRolMessage::PseudoTimeStamp);
    const unsigned count = CycMinus(newest(), from, capacity()) + 1;
    for (unsigned copied = 0; copied < count; ++copied) {
        SRolMessage message = Messages[CycPlus(from, copied, capacity())];
        TFullTime date = message.Date;
        CorrectTime(date);
        message.Date = date;
        std::uint8_t raw[sizeof(SRolMessage)];
        const std::size_t rawSize = RolWriteRaw(message, raw) - kStampSize;
        if (rawSize > size) return copied;
        std::memcpy(buffer, raw + kStampSize, rawSize);
        buffer += rawSize;
        size -= rawSize;
    }
    return count;
}

// ---- The cursor --------------------------------------------------------------------------------

int CRolManager::goTo(unsigned slot) {
    if (!holds(slot)) return -1;
    CurIndexSeq = slot;
    CurMessage.Message = Messages[slot];
    return 0;
}

int CRolManager::GoFirstMes() {
    if (Messages == nullptr) return -1;
    const Lock lock(*this);
    return goTo(oldest());
}

int CRolManager::GoMes(unsigned short slot) {
    if (Messages == nullptr) return -1;
    const Lock lock(*this);
    return goTo(slot);
}

int CRolManager::GetNextMes() {
    if (Messages == nullptr) return -1;
    const Lock lock(*this);
    if (CurIndexSeq == newest()) return -1;
    return goTo(CycPlus(static_cast<unsigned>(CurIndexSeq), 1, capacity()));
}

int CRolManager::GetPrevMes() {
    if (Messages == nullptr) return -1;
    const Lock lock(*this);
    if (CurIndexSeq == oldest()) return -1;
    return goTo(CycMinus(static_cast<unsigned>(CurIndexSeq), 1, capacity()));
}

// ---- Text --------------------------------------------------------------------------------------

namespace {

/// Designation of a variable.
/// @param number  from 1
std::string designation(const char* dictionary, std::uint16_t count, int number) {
    if (dictionary == nullptr || number < 1 || number > count) return {};
    const char* const entry =
        dictionary + static_cast<std::size_t>(number - 1) * kRolDictionaryEntry;
    return {entry, strnlen(entry, kRolDictionaryEntry)};
}

}  // namespace

int CRolManager::MakeString(char* buffer, unsigned long size) const {
    const char* const dictionaries[kRolDictionaries] = {VADict, AVDict, HIDict, DIDict, DODict};
    const int type = CurMessage.Message.VarType;
    std::string name;
    if (type >= 1 && type <= static_cast<int>(kRolDictionaries))
        name = designation(dictionaries[type - 1],
                           dictionaryCounts_.at(static_cast<std::size_t>(type - 1)),
                           CurMessage.Message.VarNumber);
    const std::string line = CurMessage.MakeString(name.c_str());
    const std::size_t length = std::min<std::size_t>(line.size(), size - 1);
    std::memcpy(buffer, line.data(), length);
    buffer[length] = '\0';
    return static_cast<int>(length);
}

void CRolManager::Print() const {
    char line[1024];
    static_cast<void>(MakeString(line, sizeof(line)));
    std::puts(line);
}

// ---- Types -------------------------------------------------------------------------------------

namespace {

bool isCommonType(signed char type) {
    return type == 1 || type == 2 || type == 3 || type == 6 || type == 8;
}

}  // namespace

signed char CRolManager::ConvertTypeVar_VskontrToRol2(signed char type) {
    return isCommonType(type) ? type : static_cast<signed char>(-1);
}

signed char CRolManager::ConvertTypeVar_Rol2ToVskontr(signed char type) {
    return isCommonType(type) ? type : static_cast<signed char>(0);
}
