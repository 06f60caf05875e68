#include "tools/opcuaview/watch_loop.h"

#include <algorithm>

#include "tools/client/format.h"
#include "tools/opcuaview/connection.h"
#include "tools/opcuaview/language.h"
#include "tools/opcuaview/terminal.h"

namespace tools::opcuaview {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

namespace {

/// Ends the walk through a large tree when a stop is requested.
struct Stopped {};

}  // namespace

WatchLoop::WatchLoop(const WatchOptions& options, WatchView& view)
    : options_(options), view_(view), session_(options.url) {
    if (options.trend.empty()) return;
    trend_.emplace(session_, options.trend, std::chrono::minutes{options.trendMinutes});
}

bool WatchLoop::over() const {
    if (stopRequested()) return true;
    if (options_.runSeconds <= 0 || !startedAt_) return false;
    return Clock::now() - *startedAt_ >= std::chrono::duration<double>(options_.runSeconds);
}

bool WatchLoop::reconnect(UA_StatusCode status) {
    view_.lost(in({"связь с ", "the connection to "}) + options_.url +
               in({" потеряна (", " is lost ("}) + formatQuality(status) +
               in({"), восстанавливаю", "), reconnecting"}));
    if (!connect(session_, options_.waitSeconds, kNotRestored)) return false;
    view_.restored(in({"связь восстановлена", "the connection is restored"}));
    return true;
}

/// Lists the variables and finds the pen, after a connect.
UA_StatusCode WatchLoop::list(bool& empty) {
    UA_StatusCode status = trend_ ? trend_->find() : UA_STATUSCODE_GOOD;
    if (status != UA_STATUSCODE_GOOD) return status;
    ItemChoice choice = options_.choice;
    if (!options_.limitGiven) choice.limit = view_.defaultLimit();
    ItemList items;
    view_.walks(0);
    status = listItems(session_, choice, items, [this](std::size_t seen) {
        if (stopRequested()) throw Stopped{};
        view_.walks(seen);
    });
    empty = items.items.empty();
    if (status == UA_STATUSCODE_GOOD && !empty) view_.take(std::move(items));
    return status;
}

UA_StatusCode WatchLoop::round() {
    const UA_StatusCode status = trend_ ? trend_->update() : UA_STATUSCODE_GOOD;
    if (status != UA_STATUSCODE_GOOD) return status;
    return view_.readRound(session_, trend_ ? &trend_->picture() : nullptr);
}

UA_StatusCode WatchLoop::idleUntil(Clock::time_point next) {
    bool spare = true;
    while (!over() && Clock::now() < next) {
        spare = spare && view_.useSpareTime(session_);
        const auto rest = std::chrono::ceil<milliseconds>(next - Clock::now());
        const auto pause =
            spare ? milliseconds{1} : std::clamp(rest, milliseconds{1}, milliseconds{100});
        const UA_StatusCode status = session_.idle(pause);
        if (UA_StatusCode_isBad(status)) return status;
    }
    return UA_STATUSCODE_GOOD;
}

ExitStatus WatchLoop::noVariables() const {
    const bool chosen = !options_.choice.filters.empty();
    say(options_.url +
        (chosen
             ? in({": выбору не отвечает ни одна переменная", ": no variable matches the choice"})
             : in({": на сервере нет ни одной переменной", ": the server has no variables"})));
    return kNoValue;
}

ExitStatus WatchLoop::run() try {
    const auto waits = [this](const std::string& text) {
        view_.waits(text + in({", жду", ", waiting"}));
    };
    if (!connect(session_, options_.waitSeconds, kNoConnection, waits)) {
        return stopRequested() ? kDone : kCannotConnect;
    }
    bool empty = false;
    UA_StatusCode status = list(empty);
    while (!over()) {
        if (status == UA_STATUSCODE_GOOD && empty) return noVariables();
        if (status == UA_STATUSCODE_GOOD) {
            // --seconds does not include the time for reading a large tree.
            if (!startedAt_) startedAt_ = Clock::now();
            const auto next = Clock::now() + milliseconds{options_.intervalMs};
            status = round();
            if (status == UA_STATUSCODE_GOOD) status = idleUntil(next);
            continue;
        }
        if (over()) break;
        if (!reconnect(status)) return over() ? kDone : kConnectionLost;
        status = list(empty);
    }
    return kDone;
} catch (const Stopped&) {
    return kDone;
}

}  // namespace tools::opcuaview
