#include "lib/rolling2/rol_mes.h"

#include <cstring>

// ---- Raw form ----------------------------------------------------------------------------------

namespace {
constexpr std::size_t kArgsRoom = sizeof(SRolMessage::ArgsBuffer);
constexpr std::size_t kArgHead = 2;  // type and length
}  // namespace

std::size_t RolArgsSize(const SRolMessage& message) {
    std::size_t size = 0;
    for (int i = 0; i < message.NumberOfArgs; ++i) {
        if (size + kArgHead > kArgsRoom) return kArgsRoom + 1;
        size += kArgHead + message.ArgsBuffer[size + 1];
        if (size > kArgsRoom) return kArgsRoom + 1;
    }
    return size;
}

std::size_t RolWriteRaw(const SRolMessage& message, std::uint8_t* to) {
    const std::size_t args = RolArgsSize(message);
    if (args <= kArgsRoom) {
        std::memcpy(to, &message, kRolHeadSize + args);
        return kRolHeadSize + args;
    }
    std::memcpy(to, &message, kRolHeadSize);
    to[offsetof(SRolMessage, NumberOfArgs)] = 0;
    return kRolHeadSize;
}

namespace {

/// Reads one argument behind those already in the record.
int readRawArg(std::span<const std::uint8_t> bytes, SRolMessage& message, std::size_t& argsSize) {
    const auto rest = bytes.subspan(kRolHeadSize + argsSize);
    if (rest.size() < kArgHead) return kRolShortMessage;
    const std::size_t size = kArgHead + rest[1];
    if (argsSize + size > kArgsRoom) return kRolArgumentsOverflow;
    if (rest.size() < size) return kRolShortMessage;
    std::memcpy(message.ArgsBuffer + argsSize, rest.data(), size);
    argsSize += size;
    return kRolDone;
}

}  // namespace

int RolReadRaw(std::span<const std::uint8_t> bytes, SRolMessage& message, std::size_t& used) {
    message = SRolMessage{};
    if (bytes.size() < kRolHeadSize) return kRolShortMessage;
    std::memcpy(&message, bytes.data(), kRolHeadSize);
    std::size_t argsSize = 0;
    for (int i = 0; i < message.NumberOfArgs; ++i) {
        if (const int error = readRawArg(bytes, message, argsSize); error != kRolDone) return error;
    }
    used = kRolHeadSize + argsSize;
    return kRolDone;
}

// ---- Arguments ---------------------------------------------------------------------------------

namespace {

template <class Number>
Number numberIn(std::span<const std::uint8_t> data) {
    Number number{};
    std::memcpy(&number, data.data(), sizeof(number));
    return number;
}

std::string textIn(std::span<const std::uint8_t> data) {
    const auto* const text = reinterpret_cast<const char*>(data.data());
    return {text, strnlen(text, data.size())};
}

RolValue decoded(TRolArgType type, std::span<const std::uint8_t> data) {
    if (type == RT_STR) return {type, textIn(data)};
    if (data.size() != RolNumberSize(type)) return {type, {}};
    switch (type) {
        case RT_CHAR:
            return {type, std::int64_t{numberIn<std::int8_t>(data)}};
        case RT_UCHAR:
            return {type, std::uint64_t{numberIn<std::uint8_t>(data)}};
        case RT_SHORT:
            return {type, std::int64_t{numberIn<std::int16_t>(data)}};
        case RT_USHORT:
            return {type, std::uint64_t{numberIn<std::uint16_t>(data)}};
        case RT_INT:
        case RT_LONG:
            return {type, std::int64_t{numberIn<std::int32_t>(data)}};
        case RT_UINT:
        case RT_ULONG:
            return {type, std::uint64_t{numberIn<std::uint32_t>(data)}};
        case RT_FLOAT:
            return {type, double{numberIn<float>(data)}};
        case RT_DOUBLE:
            return {type, numberIn<double>(data)};
        default:
            return {type, {}};
    }
}

}  // namespace

std::vector<RolValue> RolArguments(const SRolMessage& message) {
    std::vector<RolValue> values;
    std::span<const std::uint8_t> rest(message.ArgsBuffer);
    for (int i = 0; i < message.NumberOfArgs && rest.size() >= kArgHead; ++i) {
        const auto type = static_cast<TRolArgType>(rest[0]);
        const std::size_t size = rest[1];
        rest = rest.subspan(kArgHead);
        if (size > rest.size()) break;
        values.push_back(decoded(type, rest.first(size)));
        rest = rest.subspan(size);
    }
    return values;
}

// ---- The cursor --------------------------------------------------------------------------------

void CRolMessageInterface::Start(unsigned long dictionary, unsigned long code, signed char varType,
                                 short varNumber) {
    Message = SRolMessage{};
    Message.DicNumber = static_cast<std::uint32_t>(dictionary);
    Message.MessageCode = static_cast<std::uint32_t>(code);
    Message.VarType = varType;
    Message.VarNumber = varNumber;
}

int CRolMessageInterface::AddArg(const CRolArg& argument) {
    const std::size_t size = argument.size();
    if (size == 0) return kRolArgumentType;
    const std::size_t used = RolArgsSize(Message);
    if (used + kArgHead + size > kArgsRoom) return kRolArgumentsOverflow;
    std::uint8_t* const at = Message.ArgsBuffer + used;
    at[0] = argument.type();
    at[1] = static_cast<std::uint8_t>(size);
    std::memcpy(at + kArgHead, argument.data(), size);
    ++Message.NumberOfArgs;
    return kRolDone;
}
