#include "tools/opcuaview/connection.h"

#include <chrono>
#include <ctime>

#include "tools/opcuaview/language.h"
#include "tools/opcuaview/terminal.h"

namespace tools::opcuaview {

UA_StatusCode connectWithin(Session& session, double seconds,
                            const std::function<void(UA_StatusCode)>& waits) {
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + std::chrono::duration<double>(seconds);
    for (bool first = true;; first = false) {
        const UA_StatusCode status = session.connect();
        const bool refused = session.barrier() != Barrier::none;
        if (status == UA_STATUSCODE_GOOD || refused || stopRequested() || Clock::now() >= deadline)
            return status;
        if (first && waits) waits(status);
        const timespec pause{0, 50'000'000};
        nanosleep(&pause, nullptr);
    }
}

bool connect(Session& session, double waitSeconds, const Text& problem,
             const std::function<void(const std::string&)>& waits) {
    const auto text = [&](UA_StatusCode status) {
        return in(problem) + session.url() + " (" + session.problemText(status, language()) + ")";
    };
    const UA_StatusCode status = connectWithin(session, waitSeconds, [&](UA_StatusCode first) {
        if (waits) waits(text(first));
    });
    if (status == UA_STATUSCODE_GOOD) return true;
    if (!stopRequested()) say(text(status));
    return false;
}

}  // namespace tools::opcuaview
