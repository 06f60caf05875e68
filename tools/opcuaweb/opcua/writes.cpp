#include "tools/opcuaweb/opcua/writes.h"

#include <atomic>

#include "tools/client/format.h"
#include "tools/client/parse_value.h"
#include "tools/opcuaweb/basics/limits.h"
#include "tools/opcuaweb/basics/report.h"
#include "tools/opcuaweb/opcua/reading.h"

namespace tools::opcuaweb {

/// A write as far as it can be prepared: the present value and the one to be written.
struct Writes::Prepared {
    NodeId id;
    Json old;
    const UA_DataType* type = nullptr;
    OwnedVariant value;
};

namespace {

UA_StatusCode readValue(Session& session, const NodeId& id, DataValue& value) {
    std::vector<DataValue> values;
    const UA_StatusCode status = session.read({id.get()}, UA_ATTRIBUTEID_VALUE, values);
    if (status == UA_STATUSCODE_GOOD) value = std::move(values.front());
    return status;
}

}  // namespace

std::variant<Writes::Prepared, Problem> Writes::prepared(Session& session, const std::string& node,
                                                         const std::string& text) {
    Prepared write;
    if (!parseId(node, write.id)) return kBadNode;
    DataValue present;
    if (readValue(session, write.id, present) != UA_STATUSCODE_GOOD) return kNoConnection;
    if (!present->hasValue || UA_Variant_isEmpty(&present->value)) return kNoValue;
    if (present->value.arrayDimensionsSize > 1) return kMatrix;  // a list would lose the shape
    write.old = shownValue(present->value);
    write.type = present->value.type;
    const bool isArray = !UA_Variant_isScalar(&present->value);
    const std::string wrong = parseValue(text, *write.type, isArray, Language::en, write.value);
    if (!wrong.empty()) return kBadValue;
    return write;
}

Writes::Answer Writes::asked(const std::function<Answer(Session&)>& question) {
    return asker_.ask<Answer>(question, kAnswerTime).value_or(kNoConnection);
}

Writes::Answer Writes::ask(const std::string& node, const std::string& text) {
    return asked([=](Session& session) -> Answer {
        const auto result = prepared(session, node, text);
        if (const auto* const problem = std::get_if<Problem>(&result)) return *problem;
        const auto& write = std::get<Prepared>(result);
        return Json{
            {"old", write.old}, {"new", shownValue(*write.value)}, {"type", write.type->typeName}};
    });
}

/// One confirmed write, step by step: write, then read back until the controller has taken the value.
/// Its tasks take what is written in their next cycle, so the first reading may show the former value.
class Writes::Job {
  public:
    Job(Writes& writes, std::string node, std::string text, std::string address)
        : writes_(writes),
          node_(std::move(node)),
          text_(std::move(text)),
          address_(std::move(address)) {}

    /// Waits for the answer. A write that has not begun by then is never made: nobody may meet it
    /// after having read that there is no connection.
    [[nodiscard]] Answer answer() {
        auto answer = promise_.get_future();
        const bool isReady = answer.wait_for(kAnswerTime) == std::future_status::ready;
        if (!isReady && !claimed_.exchange(true)) return kNoConnection;
        return answer.get();
    }

    Asker::Step step(Session* session) {
        using namespace std::chrono_literals;
        if (!write_) return begin(session);
        if (session == nullptr) return finish();
        if (Clock::now() < next_) return Asker::Step::later;
        next_ = Clock::now() + 50ms;
        DataValue back;
        if (readValue(*session, write_->id, back) != UA_STATUSCODE_GOOD) return finish();
        now_ = back->hasValue ? shownValue(back->value) : Json();
        const bool isOver = now_ == wanted_ || UA_StatusCode_isBad(status_) || Clock::now() > end_;
        return isOver ? finish() : Asker::Step::later;
    }

  private:
    Asker::Step begin(Session* session) {
        using namespace std::chrono_literals;
        if (claimed_.exchange(true)) return Asker::Step::done;
        auto result = session == nullptr ? std::variant<Prepared, Problem>(kNoConnection)
                                         : prepared(*session, node_, text_);
        if (const auto* const problem = std::get_if<Problem>(&result)) {
            promise_.set_value(*problem);
            return Asker::Step::done;
        }
        write_ = std::move(std::get<Prepared>(result));
        wanted_ = shownValue(*write_->value);
        status_ = session->write(*write_->id, *write_->value);
        time_ = UA_DateTime_now();
        end_ = Clock::now() + 1s;
        return Asker::Step::again;
    }

    /// On the asking thread, so that a write is printed even if nobody waits for its answer any more.
    Asker::Step finish() {
        const std::string status = formatQuality(status_);
        const std::string difference = now_ == wanted_ ? "" : "  (" + jsonLine(now_) + ")";
        report(time_, address_ + "  " + jsonLine(node_) + "  " + jsonLine(write_->old) + " -> " +
                          jsonLine(wanted_) + "  " + status + difference);
        writes_.browsers_.publish("write", {{"node", node_},
                                            {"old", write_->old},
                                            {"new", now_},
                                            {"status", status},
                                            {"time", unixMs(time_)},
                                            {"address", address_}});
        promise_.set_value(Json{
            {"old", write_->old}, {"new", now_}, {"status", status}, {"taken", now_ == wanted_}});
        return Asker::Step::done;
    }

    Writes& writes_;
    const std::string node_;
    const std::string text_;
    const std::string address_;
    std::promise<Answer> promise_;
    std::atomic<bool> claimed_ = false;  // by the first step, or by the end of the waiting
    std::optional<Prepared> write_;      // after the first step
    Json wanted_;
    Json now_;
    UA_StatusCode status_ = UA_STATUSCODE_GOOD;
    UA_DateTime time_ = 0;
    Clock::time_point next_;
    Clock::time_point end_;
};

Writes::Answer Writes::write(const std::string& node, const std::string& text,
                             const std::string& address) {
    const std::unique_lock lock(oneAtATime_, kAnswerTime);
    if (!lock) return kBusy;
    const auto job = std::make_shared<Job>(*this, node, text, address);
    if (!asker_.add([job](Session* session) { return job->step(session); })) return kBusy;
    return job->answer();
}

}  // namespace tools::opcuaweb
