// Posting, and the counters of unread messages.
#include <algorithm>
#include <cstring>

#include "lib/rolling2/rol_lock.h"
#include "lib/rolling2/rol_report.h"

// ---- The ring ----------------------------------------------------------------------------------

unsigned CRolManager::CycPlus(unsigned a, unsigned b, unsigned n) {
    return n == 0 ? 0 : (a + b) % n;
}

unsigned CRolManager::CycMinus(unsigned a, unsigned b, unsigned n) {
    if (n == 0) return 0;
    return a >= b ? (a - b) % n : (a % n + n - b % n) % n;
}

// Another process may have written anything to the segments; no slot outside the ring is used,
// whatever they contain.
std::uint16_t CRolManager::capacity() const {
    const std::uint16_t claimed = IniFileSettings->NumMessagesInMemory;
    return claimed != 0 && claimed < slots_ ? claimed : slots_;
}
std::uint16_t CRolManager::newest() const {
    return static_cast<std::uint16_t>(*LastIndex % capacity());
}
std::uint16_t CRolManager::held() const {
    return std::min(*MessageCounter, capacity());
}
std::uint16_t CRolManager::oldest() const {
    return static_cast<std::uint16_t>(CycMinus(newest(), held() - 1U, capacity()));
}
bool CRolManager::holds(unsigned slot) const {
    return slot < capacity() && CycMinus(newest(), slot, capacity()) < held();
}

/// Sets a stamp later than that of the newest message, even if the clock was set back.
void CRolManager::stamp(SRolMessage& message, const timeval* time) const {
    constexpr long kUsPerMs = 1000;
    const TimeType now = TimeType::GetCurrent();
    const TimeType& date = time != nullptr ? TimeType(*time) : now;
    message.Date = {static_cast<std::uint32_t>(date.tv_sec),
                    static_cast<std::uint16_t>(date.tv_usec / kUsPerMs)};

    const timeval_32 newestStamp = Messages[newest()].PseudoTimeStamp;
    const TimeType previous(newestStamp);
    // A clock beyond the stamp's 32 bits, that is 2038, gives no seconds: they would be negative.
    const bool isNewSecond = now.tv_sec > previous.tv_sec && now.tv_sec <= INT32_MAX;
    const TimeType next = isNewSecond ? TimeType(now.tv_sec, 0L) : previous + TimeType(0, 1);
    message.PseudoTimeStamp = {static_cast<std::int32_t>(next.tv_sec),
                               static_cast<std::int32_t>(next.tv_usec)};
}

void CRolManager::append(const SRolMessage& message) {
    const std::uint16_t full = capacity();
    const unsigned slot = CycPlus(newest(), 1, full);
    // The oldest message leaves before its slot is overwritten.
    const unsigned kept = std::min<unsigned>(held(), full - 1U);
    if (kept != *MessageCounter) RolStoreInOrder(MessageCounter, kept);
    std::memcpy(&Messages[slot], &message, sizeof(message));
    RolStoreInOrder(LastIndex, slot);
    RolStoreInOrder(MessageCounter, kept + 1);
    addToCounters(1);
    *flagNewMessages = 1;
}

// ---- The operations ----------------------------------------------------------------------------

namespace {

/// The message that replaces one that could not be built.
int buildInternal(CRolMessageInterface& message, std::int16_t controller) {
    const unsigned long dictionary = message.Message.DicNumber;
    const unsigned long code = message.Message.MessageCode;
    message.Start(kRolInternalDictionary, kRolInternalCode, -1, -1);
    for (const CRolArg& argument : {CRolArg(controller), CRolArg(dictionary), CRolArg(code)})
        if (const int error = message.AddArg(argument); error != kRolDone) return error;
    return kRolDone;
}

}  // namespace

int CRolManager::post(const timeval* time, CRolMessageInterface& message, int buildError) {
    const RolDetails lost{.dictionary = static_cast<long>(message.Message.DicNumber),
                          .messageCode = static_cast<long>(message.Message.MessageCode)};
    int error = buildError;
    if (error != kRolDone) error = buildInternal(message, ControllerNumber);
    if (error == kRolDone && Messages == nullptr) error = kRolNotOpen;
    if (error != kRolDone) {
        RolReport(RolText::messageLost,
                  {.code = error, .dictionary = lost.dictionary, .messageCode = lost.messageCode});
        return error;
    }
    const Lock lock(*this);
    stamp(message.Message, time);
    append(message.Message);
    return kRolDone;
}

namespace {

/// Appends the arguments of a list and deletes all of them, even after one that does not fit.
int takeArguments(CRolMessageInterface& message, va_list* arguments) {
    int error = kRolDone;
    for (;;) {
        const std::unique_ptr<const CRolArg> argument(va_arg(*arguments, CRolArg*));
        // After a null pointer (an argument that could not be made) the list cannot be trusted.
        if (argument == nullptr) return kRolArgumentType;
        if (argument->type() == RT_END) return error;
        if (error == kRolDone) error = message.AddArg(*argument);
    }
}

}  // namespace

int CRolManager::Message2(const timeval* time, unsigned long dictionary, unsigned long code,
                          signed char type, short number, va_list* arguments) {
    CRolMessageInterface message;
    message.Start(dictionary, code, type, number);
    const int error = takeArguments(message, arguments);
    return post(time, message, error);
}

namespace {

int appendArguments(CRolMessageInterface& message, const CRolArg* arguments) {
    for (; arguments->type() != RT_END; ++arguments)
        if (const int error = message.AddArg(*arguments); error != kRolDone) return error;
    return kRolDone;
}

}  // namespace

int CRolManager::VeskolMessageWithTime(const timeval* time, unsigned long dictionary,
                                       unsigned long code, signed char type, short number,
                                       const CRolArg* arguments) {
    CRolMessageInterface message;
    message.Start(dictionary, code, type, number);
    const int error = appendArguments(message, arguments);
    return post(time, message, error);
}

int CRolManager::VeskolMessage(unsigned long dictionary, unsigned long code, signed char type,
                               short number, const CRolArg* arguments) {
    return VeskolMessageWithTime(nullptr, dictionary, code, type, number, arguments);
}

namespace {

/// The dictionary of messages that name none.
unsigned long systemDictionary(const SRolIniFileSettings* settings) {
    return settings != nullptr ? settings->SysDict : kRolInternalDictionary;
}

}  // namespace

int CRolManager::Message(unsigned long code, ...) {
    va_list arguments;
    va_start(arguments, code);
    const int result =
        Message2(nullptr, systemDictionary(IniFileSettings), code, -1, -1, &arguments);
    va_end(arguments);
    return result;
}

int CRolManager::MessageD(unsigned long dictionary, unsigned long code, ...) {
    va_list arguments;
    va_start(arguments, code);
    const int result = Message2(nullptr, dictionary, code, -1, -1, &arguments);
    va_end(arguments);
    return result;
}

int CRolManager::MessageWithVar(unsigned long code, signed char type, int number, ...) {
    va_list arguments;
    va_start(arguments, number);
    const int result = Message2(nullptr, systemDictionary(IniFileSettings), code, type,
                                static_cast<short>(number), &arguments);
    va_end(arguments);
    return result;
}

int CRolManager::MessageWithVarD(unsigned long dictionary, unsigned long code, signed char type,
                                 int number, ...) {
    va_list arguments;
    va_start(arguments, number);
    const int result =
        Message2(nullptr, dictionary, code, type, static_cast<short>(number), &arguments);
    va_end(arguments);
    return result;
}

int CRolManager::MessageWithVarAndTime(const timeval* time, unsigned long code, signed char type,
                                       int number, ...) {
    va_list arguments;
    va_start(arguments, number);
    const int result = Message2(time, systemDictionary(IniFileSettings), code, type,
                                static_cast<short>(number), &arguments);
    va_end(arguments);
    return result;
}

// ---- Counters of unread messages ---------------------------------------------------------------

void CRolManager::addToCounters(unsigned count) {
    const std::uint64_t most = capacity();
    for (std::uint32_t& counter : CntRolPerSock->counters)
        counter = static_cast<std::uint32_t>(std::min(std::uint64_t{counter} + count, most));
}

void CRolManager::IncCounters(int count) {
    if (Messages == nullptr || count <= 0) return;
    const Lock lock(*this);
    addToCounters(static_cast<unsigned>(count));
}

namespace {

constexpr int kReadersAnswered = 9;

/// By offset: the last one is after the array, but still inside the segment.
unsigned char* counterAt(SCntRolPerSock* counters, int reader) {
    return reinterpret_cast<unsigned char*>(counters) +
           static_cast<std::size_t>(reader) * sizeof(std::uint32_t);
}

}  // namespace

unsigned CRolManager::GetCounter(int reader) const {
    if (CntRolPerSock == nullptr || reader < 0 || reader >= kReadersAnswered) return 0;
    std::uint32_t counter = 0;
    std::memcpy(&counter, counterAt(CntRolPerSock, reader), sizeof(counter));
    return counter;
}

void CRolManager::DecCounter(int reader, int count) {
    if (Messages == nullptr || reader < 0 || reader >= kReadersAnswered || count <= 0) return;
    const Lock lock(*this);
    const unsigned counter = GetCounter(reader);
    const auto taken = static_cast<unsigned>(count);
    const std::uint32_t left = counter > taken ? counter - taken : 0;
    std::memcpy(counterAt(CntRolPerSock, reader), &left, sizeof(left));
}
