#pragma once

#include "lib/rolling2/rol_man.h"
#include "server/diagnostics/EventJournal.h"

/// Sends the server's messages to the controller's event journal. Main thread.
class ControllerJournal final : public EventJournal {
  public:
    /// @param rolling  not owned, outlives this object
    explicit ControllerJournal(CRolManager& rolling) : rolling_(rolling) {}
    /// Uninstalls itself. The journal itself stays, with its semaphore and segments.
    ~ControllerJournal() override;
    ControllerJournal(const ControllerJournal&) = delete;
    ControllerJournal& operator=(const ControllerJournal&) = delete;

    /// Joins the journal and makes it the one that messages go to.
    /// @return 0; otherwise the number of the library's error, and nothing is installed
    [[nodiscard]] int open();

    /// To the system dictionary of the controller's settings, with the time of the call.
    void post(std::uint32_t number, const std::vector<JournalArgument>& arguments) override;

  private:
    CRolManager& rolling_;
};
