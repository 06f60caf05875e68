#pragma once

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

/// One argument of a journal message: a 32-bit integer, or a text as the journal is to hold it,
/// without a closing NUL. Texts are CP866, except in reportMissingAttribute's message, whose text
/// is UTF-8. The journal adds the journal library's end marker.
using JournalArgument = std::variant<std::int32_t, std::string>;

/// The controller's event journal as this server sees it: a place to post numbered messages.
class EventJournal {
  public:
    virtual ~EventJournal() = default;

    /// Posts one message. If the journal refuses it, that is not reported: the server continues
    /// either way.
    /// @param number     message number in the journal's dictionary, e.g. 18094
    /// @param arguments  in the order of the dictionary's text; the first is the controller's
    ///                   number
    virtual void post(std::uint32_t number, const std::vector<JournalArgument>& arguments) = 0;
};

/// Sends messages to `journal` from now on; null uninstalls it. Not owned: it must live until
/// another one is installed or the process ends. Main thread, before the first message.
/// @return the previously installed one, null when there was none
EventJournal* installEventJournal(EventJournal* journal) noexcept;

/// The installed journal, or null: then messages are written to the log only.
[[nodiscard]] EventJournal* installedEventJournal() noexcept;
