#include "server/diagnostics/EventJournal.h"

#include <utility>

namespace {

EventJournal* installed = nullptr;

}  // namespace

EventJournal* installEventJournal(EventJournal* journal) noexcept {
    return std::exchange(installed, journal);
}

EventJournal* installedEventJournal() noexcept {
    return installed;
}
