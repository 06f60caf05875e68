#include "tools/opcuaview/history_reader.h"

#include "tools/client/format.h"
#include "tools/opcuaview/connection.h"
#include "tools/opcuaview/language.h"
#include "tools/opcuaview/terminal.h"

namespace tools::opcuaview {

ExitStatus HistoryReader::read(const UA_NodeId& node, const TimeRange& range,
                               const std::string& name, const Sink& sink) {
    HistoryPager pager{[&](UA_DateTime from, UA_DateTime to, std::vector<HistoryValue>& values) {
                           return session_.readHistory(node, from, to, values);
                       },
                       range.from, range.to};
    name_ = name;
    count_ = 0;
    nextProgress_ = Clock::now() + std::chrono::seconds{1};
    std::vector<HistoryValue> values;
    while (!stopRequested()) {
        switch (pager.next(values)) {
            case HistoryPager::Step::values:
                count_ += values.size();
                sink(values);
                showProgress(pager.position());
                break;
            case HistoryPager::Step::end:
                report(countText());
                return count_ > 0 ? kDone : kNoValue;
            case HistoryPager::Step::stuck:
                return stuck(pager);
            case HistoryPager::Step::failed:
                if (session_.isConnected()) {
                    report(in({"сервер не отдаёт историю этого узла (",
                               "the server does not provide this node's history ("}) +
                           formatQuality(pager.status()) + ")");
                    return kNoValue;
                }
                if (!connect(session_, waitSeconds_, kNotRestored)) return kConnectionLost;
                break;
        }
    }
    report(in({"прервано; ", "interrupted; "}) + countText());
    return kIncomplete;
}

void HistoryReader::report(const std::string& text) const {
    say(name_.empty() ? text : name_ + ": " + text);
}

void HistoryReader::showProgress(UA_DateTime position) {
    if (Clock::now() < nextProgress_) return;
    nextProgress_ = Clock::now() + std::chrono::seconds{1};
    report(countText() + in({", до ", ", up to "}) + formatTime(position));
}

std::string HistoryReader::countText() const {
    return in({"прочитано значений: ", "values read: "}) + std::to_string(count_);
}

ExitStatus HistoryReader::stuck(const HistoryPager& pager) const {
    report(countText() +
           in({"; дальше нельзя: в миллисекунде ", "; reading stops here: the millisecond "}) +
           formatTime(pager.position()) +
           in({" их не меньше, чем сервер отдаёт за один ответ (",
               " has at least as many as one answer of the server holds ("}) +
           std::to_string(pager.largestAnswer()) +
           in({"), и остальные пропали бы", "), and the others would be lost"}));
    return kIncomplete;
}

}  // namespace tools::opcuaview
