#pragma once

#include "server/diagnostics/EventJournal.h"
#include "tests/support/files.h"

// What an operator sees of the server: the lines of its log and the messages in the journal. For
// tests in the sandbox, where /zrt is a folder of their own.

inline constexpr const char* kLogPath = "/zrt/log/opcuasrv.log";

/// The journal as a list of the arguments that were posted.
class RecordingJournal : public EventJournal {
  public:
    void post(std::uint32_t /*number*/, const std::vector<JournalArgument>& arguments) override {
        messages.push_back(arguments);
    }

    std::vector<std::vector<JournalArgument>> messages;
};

/// Fixture with an empty log and an empty journal.
class OperatorView : public testing::Test {
  protected:
    OperatorView() {
        writeFile(kLogPath, "");
        installEventJournal(&journal);
    }
    ~OperatorView() override { installEventJournal(nullptr); }

    /// The lines of the log without their time, "dd-mm-yyyy hh:mm:ss: ". UTF-8.
    static std::vector<std::string> logLines() {
        constexpr std::size_t kTimeLength = 21;
        std::vector<std::string> lines;
        std::istringstream log(readFile(kLogPath));
        for (std::string line; std::getline(log, line);)
            lines.push_back(line.substr(std::min(kTimeLength, line.size())));
        return lines;
    }

    RecordingJournal journal;
};
