#include "server/diagnostics/EventJournal.h"

#include <utility>

static EventJournal* installed = nullptr;

EventJournal* installEventJournal(EventJournal* journal) noexcept {
    return std::exchange(installed, journal);
}

EventJournal* installedEventJournal() noexcept {
    return installed;
}
