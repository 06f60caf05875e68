#include "sim/journal/event_journal.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <ostream>

#include "sim/failure.h"
#include "sim/layout/field_table.h"

namespace sim {

namespace {

constexpr char kSavingOn = 1;

/// Offset of the position designation in the passport, in the order of the dictionaries.
constexpr std::array<std::size_t, kRolDictionaries> kDesignationAt = {
    at(TypeCode::VA, "POZ"), at(TypeCode::AV, "POZ"), at(TypeCode::HI, "POZ"),
    at(TypeCode::DI, "POZ"), at(TypeCode::DO, "POZ")};

/// A message has 15 bits for a variable's number.
constexpr std::size_t kMostNumbered = INT16_MAX;

unsigned tagsIn(const DatabaseMemory& memory) {
    unsigned tags = 0;
    for (std::size_t i = 0; i < kMainTypeCount; ++i) {
        tags += memory.types[i].count;
    }
    return tags;
}

}  // namespace

EventJournal::EventJournal(Site& site, ControllerIpc& ipc, const DatabaseMemory& memory,
                           std::ostream& out)
    : memory_(memory),
      isBroken_(std::min<std::size_t>(memory.of(TypeCode::VA).count, kMostNumbered), false) {
    for (const auto& file : site.folders().journalFiles) {
        site.adoptSavedFile(file);
    }
    makeDictionaries(ipc);
    join(out);
    rolling_.SetSaveRol(kSavingOn);
    post(started, {CRolArg(tagsIn(memory))});
    // Loading leaves no file. From the second save on, one copy is always whole, even after a power
    // failure. The library reports failures, and the next save comes soon.
    static_cast<void>(rolling_.ForceSave());
    static_cast<void>(rolling_.ForceSave());
}

EventJournal::~EventJournal() {
    post(stops, {});
    static_cast<void>(rolling_.ForceSave());  // reported; there is no next one
    rolling_.Close();
}

/// The position flag stays clear.
void EventJournal::makeDictionaries(ControllerIpc& ipc) const {
    static_cast<void>(ipc.makeSegment(kRolPosition24, 1));
    for (std::size_t i = 0; i < kRolDictionaries; ++i) {
        const auto type = static_cast<TypeCode>(i + 1);
        const std::size_t count = memory_.of(type).count;
        std::byte* entry =
            ipc.makeSegment(kRolFirstDictionary + static_cast<int>(i), count * kRolDictionaryEntry);
        for (std::size_t variable = 0; variable < count; ++variable) {
            // The record has a NUL after the longest designation, the dictionary does not.
            std::copy_n(memory_.passport(type, variable) + kDesignationAt[i], kRolDictionaryEntry,
                        entry);
            entry += kRolDictionaryEntry;
        }
    }
}

void EventJournal::join(std::ostream& out) {
    if (rolling_.Init() != kRolDone) {
        throw Failure(ExitCode::failed, "журнал событий не открывается (причина выше)");
    }
    // The library has reported every missing file, even those that cannot exist yet.
    if (*rolling_.MessageCounter == 0) {
        out << "Журнал событий: сохранённых сообщений нет, начат новый.\n";
    } else {
        out << "Журнал событий: прежних сообщений " << *rolling_.MessageCounter
            << ". Счётчики непрочитанного начаты заново, как при всякой загрузке.\n";
    }
}

void EventJournal::post(Code code, std::vector<CRolArg> arguments, int analogInput) {
    arguments.insert(arguments.begin(), CRolArg(static_cast<int>(rolling_.ControllerNumber)));
    arguments.emplace_back(RT_END);
    const bool isAboutOne = analogInput != 0;
    const auto type = static_cast<signed char>(isAboutOne ? static_cast<int>(TypeCode::VA) : -1);
    const auto number = static_cast<short>(isAboutOne ? analogInput : -1);
    // The library reports a message that cannot be posted.
    static_cast<void>(rolling_.VeskolMessage(rolling_.IniFileSettings->SysDict, code, type, number,
                                             arguments.data()));
}

void EventJournal::follow(Clock::time_point now) {
    for (std::size_t i = 0; i < isBroken_.size(); ++i) {
        const Quality quality = qualityOf(memory_, TypeCode::VA, i);
        // An uncertain sensor has neither broken nor recovered.
        const bool isBroken = isBroken_[i] ? quality != Quality::good : quality == Quality::bad;
        if (isBroken == isBroken_[i]) continue;
        isBroken_[i] = isBroken;
        post(isBroken ? sensorBroken : sensorRecovered, {}, static_cast<int>(i + 1));
    }
    const auto intervalMs = rolling_.IniFileSettings->SaveInterval;  // copied: the record is packed
    const std::chrono::milliseconds interval(intervalMs);
    if (interval.count() == 0 || now < nextSave_) return;  // 0: at start and end only
    nextSave_ = now + interval;
    static_cast<void>(rolling_.Save());  // a failure is reported; the next save tries again
}

}  // namespace sim
