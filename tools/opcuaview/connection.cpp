#include "tools/opcuaview/connection.h"

#include <chrono>
#include <ctime>

#include "tools/opcuaview/language.h"
#include "tools/opcuaview/terminal.h"

namespace tools::opcuaview {

bool connect(Session& session, double waitSeconds, const Text& problem,
             const std::function<void(const std::string&)>& waits) {
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + std::chrono::duration<double>(waitSeconds);
    for (bool first = true;; first = false) {
        const UA_StatusCode status = session.connect();
        if (status == UA_STATUSCODE_GOOD) return true;
        if (stopRequested()) return false;
        const std::string text =
            in(problem) + session.url() + " (" + session.problemText(status, language()) + ")";
        if (session.barrier() != Barrier::none || Clock::now() >= deadline) {
            say(text);
            return false;
        }
        if (first && waits) waits(text);
        const timespec pause{0, 50'000'000};
        nanosleep(&pause, nullptr);
    }
}

}  // namespace tools::opcuaview
