#include "tools/opcuaweb/history/history_job.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

#include "tools/client/format.h"
#include "tools/client/history_pager.h"
#include "tools/opcuaweb/history/columns.h"
#include "tools/opcuaweb/opcua/reading.h"

namespace tools::opcuaweb {

namespace {

// ---- What is made of the values -----------------------------------------------------------------

/// The two forms of an answer.
class Form {
  public:
    Form() = default;
    virtual ~Form() = default;
    Form(const Form&) = delete;
    Form& operator=(const Form&) = delete;

    [[nodiscard]] virtual std::string beginning() { return {}; }
    [[nodiscard]] virtual std::string lines(const std::vector<HistoryValue>& values,
                                            double progress) = 0;
    /// @param problem  null if the history was read to its end
    [[nodiscard]] virtual std::string ending(const Json& problem) = 0;
};

class ColumnsForm final : public Form {
  public:
    explicit ColumnsForm(const HistoryQuestion& question)
        : columns_(question.fromMs, question.toMs, question.width) {}

    std::string lines(const std::vector<HistoryValue>& values, double progress) override {
        for (const HistoryValue& value : values) {
            const bool isGap = UA_StatusCode_isBad(value.status) || !std::isfinite(value.number);
            const double number =
                value.wide ? value.number : shortened(static_cast<float>(value.number));
            columns_.add(
                {unixMs(value.time), isGap ? std::nullopt : std::optional<double>(number)});
        }
        return jsonLine({{"columns", columns_.take()}, {"progress", progress}}) + "\n";
    }

    std::string ending(const Json& problem) override {
        return jsonLine({{"columns", columns_.finish()}, {"progress", 1}}) + "\n" +
               jsonLine({{"end", true}, {"values", columns_.values()}, {"problem", problem}}) +
               "\n";
    }

  private:
    Columns columns_;
};

class CsvForm final : public Form {
  public:
    std::string beginning() override { return "time,value,quality\r\n"; }

    std::string lines(const std::vector<HistoryValue>& values, double /*progress*/) override {
        std::string text;
        for (const HistoryValue& value : values) {
            std::array<char, 40> number{};
            if (std::isfinite(value.number)) {
                static_cast<void>(std::snprintf(number.data(), number.size(),
                                                value.wide ? "%.17g" : "%.7g", value.number));
            }
            text += isoTime(value.time) + "," + number.data() + "," + formatQuality(value.status) +
                    "\r\n";
        }
        return text;
    }

    std::string ending(const Json& problem) override {
        if (problem.is_null()) return {};
        return "# " + problem["en"].get<std::string>() + "\r\n";
    }
};

// ---- The job -----------------------------------------------------------------------------------

Json stuckProblem() {
    return inBoth({"В одной миллисекунде больше значений, чем сервер отдаёт за раз",
                   "There are more values in one millisecond than the server returns at a time"});
}

Json failedProblem(UA_StatusCode status) {
    const std::string reason = formatQuality(status);
    return {{"ru", "Сервер не отдаёт эту историю (" + reason + ")"},
            {"en", "The server refuses this history (" + reason + ")"}};
}

class HistoryJob {
  public:
    HistoryJob(const HistoryQuestion& question, std::shared_ptr<TextPipe> pipe,
               std::unique_ptr<Form> form)
        : from_(fromUnixMs(question.fromMs)),
          to_(fromUnixMs(question.toMs)),
          pipe_(std::move(pipe)),
          form_(std::move(form)),
          pager_([this](UA_DateTime from, UA_DateTime to,
                        std::vector<HistoryValue>& values) { return request(from, to, values); },
                 from_, to_) {
        static_cast<void>(parseId(question.node, node_));  // checked before
        pipe_->put(form_->beginning());
    }
    HistoryJob(const HistoryJob&) = delete;
    HistoryJob& operator=(const HistoryJob&) = delete;

    Asker::Step step(Session* session) {
        if (session == nullptr) {
            return finish(
                inBoth({"Нет связи с сервером OPC UA", "No connection to the OPC UA server"}));
        }
        if (pipe_->isClosed()) return Asker::Step::done;
        if (!pipe_->hasRoom()) return Asker::Step::later;
        session_ = session;
        std::vector<HistoryValue> values;
        switch (pager_.next(values)) {
            case HistoryPager::Step::values:
                pipe_->put(form_->lines(values, progress()));
                return Asker::Step::again;
            case HistoryPager::Step::end:
                return finish(nullptr);
            case HistoryPager::Step::stuck:
                return finish(stuckProblem());
            case HistoryPager::Step::failed:
                break;
        }
        return finish(failedProblem(pager_.status()));
    }

  private:
    UA_StatusCode request(UA_DateTime from, UA_DateTime to, std::vector<HistoryValue>& values) {
        return session_->readHistory(*node_, from, to, values);
    }

    [[nodiscard]] double progress() const {
        const double part =
            static_cast<double>(pager_.position() - from_) / static_cast<double>(to_ - from_);
        return std::isfinite(part) ? std::clamp(part, 0.0, 1.0) : 1.0;
    }

    Asker::Step finish(const Json& problem) {
        pipe_->put(form_->ending(problem));
        pipe_->end();
        return Asker::Step::done;
    }

    NodeId node_;
    const UA_DateTime from_;
    const UA_DateTime to_;
    Session* session_ = nullptr;  // of the current step
    std::shared_ptr<TextPipe> pipe_;
    std::unique_ptr<Form> form_;
    HistoryPager pager_;
};

Asker::Job jobOf(const HistoryQuestion& question, std::shared_ptr<TextPipe> pipe,
                 std::unique_ptr<Form> form) {
    const auto job = std::make_shared<HistoryJob>(question, std::move(pipe), std::move(form));
    return [job](Session* session) { return job->step(session); };
}

}  // namespace

Asker::Job columnsJob(const HistoryQuestion& question, std::shared_ptr<TextPipe> pipe) {
    return jobOf(question, std::move(pipe), std::make_unique<ColumnsForm>(question));
}

Asker::Job csvJob(const HistoryQuestion& question, std::shared_ptr<TextPipe> pipe) {
    return jobOf(question, std::move(pipe), std::make_unique<CsvForm>());
}

}  // namespace tools::opcuaweb
