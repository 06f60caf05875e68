#include "tools/zrtjournal/command_line.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstring>
#include <iostream>
#include <optional>
#include <string>
#include <thread>

#include "lib/util/veskpath.h"
#include "tools/command_line/command_line.h"
#include "tools/zrtjournal/designations.h"
#include "tools/zrtjournal/display.h"
#include "tools/zrtjournal/exit_status.h"
#include "tools/zrtjournal/live_ring.h"
#include "tools/zrtjournal/saved_copies.h"
#include "tools/zrtjournal/selection.h"

namespace tools::zrtjournal {

namespace {

// ---- Command line ------------------------------------------------------------------------------

struct Options {
    bool files = false;
    std::string folder;
    bool follow = false;
    std::string codes;
    std::string from;
    std::string to;
    std::string last;
    bool json = false;

    Language language = Language::ru;
    Selection selection;
    std::optional<std::size_t> most;  // of --last
};

constexpr Text kDescription{
    "Показывает журнал событий контроллера, начиная со старых сообщений. Только читает.",
    "Shows the controller's event journal, oldest messages first. Only reads."};
constexpr Text kFooter{
    "Код завершения: 0 - показано, 1 - показано, но копия повреждена (--files), 2 - неверные "
    "ключи,\n3 - журнала нет. Запись: docs/journal.md.",
    "Exit status: 0 shown, 1 shown, but a copy is damaged (--files), 2 bad usage, 3 no journal.\n"
    "See docs/journal.md."};

void declareOptions(CommandLine& line, Options& options) {
    auto& files =
        line.flag("--files", options.files,
                  {"Читать сохранённые файлы, а не память; об их состоянии - в поток ошибок",
                   "Read the saved files instead of memory; their state goes to standard error"});
    line.option("--dir", options.folder,
                {"Папка с dat, rezerv и check, если файлы не там, где у контроллера",
                 "Folder with dat, rezerv and check, if the files are not where the controller has "
                 "them"},
                {"ПАПКА", "FOLDER"})
        .needs(&files);
    line.flag("--follow", options.follow,
              {"Показывать и новые сообщения, до Ctrl-C", "Also show new messages, until Ctrl-C"})
        .excludes(&files);
    line.option("--code", options.codes,
                {"Только эти коды, например 18091-18094,1003",
                 "Only these codes, for example 18091-18094,1003"},
                {"N-M,...", "N-M,..."});
    line.option(
        "--from", options.from,
        {"Не раньше этого местного времени: \"2026-11-21 09:30:15\", \"21-11-2026\", \"09:30\"",
         "Not before this local time: \"2026-11-21 09:30:15\", \"21-11-2026\", \"09:30\""},
        {"ВРЕМЯ", "TIME"});
    line.option("--to", options.to,
                {"Не позже него; названные секунда, минута или день входят целиком",
                 "Not after this time; the given second, minute or day is included"},
                {"ВРЕМЯ", "TIME"});
    line.option(
        "--last", options.last,
        {"Только столько последних из выбранных", "Only this many of the newest selected messages"},
        {"ЧИСЛО", "NUMBER"});
    line.flag("--json", options.json, {"По объекту JSON в строке", "One JSON object per line"});
}

/// Checks what CLI11 cannot check.
/// @return what is wrong; empty if nothing is
std::string understand(Options& options) {
    const bool russian = options.language == Language::ru;
    const std::time_t now = std::time(nullptr);
    Selection& selection = options.selection;
    if (!options.codes.empty() && !selection.setCodes(options.codes)) {
        return "--code: \"" + options.codes + "\"" +
               (russian ? " - не список кодов" : " is not a list of codes");
    }
    std::size_t most = 0;
    const char* const end = options.last.data() + options.last.size();
    const auto [rest, error] = std::from_chars(options.last.data(), end, most);
    if (!options.last.empty() && (error != std::errc{} || rest != end)) {
        return "--last: \"" + options.last + "\"" + (russian ? " - не число" : " is not a number");
    }
    if (!options.last.empty()) options.most = most;
    const char* noTime = russian ? " - не время" : " is not a time";
    if (!options.from.empty() && !selection.setFrom(options.from, now)) {
        return "--from: \"" + options.from + "\"" + noTime;
    }
    if (!options.to.empty() && !selection.setTo(options.to, now)) {
        return "--to: \"" + options.to + "\"" + noTime;
    }
    return {};
}

// ---- Showing -----------------------------------------------------------------------------------

/// Designations come from memory: files do not contain them.
void show(const std::vector<SRolMessage>& messages, const Options& options) {
    std::vector<const SRolMessage*> chosen;
    for (const SRolMessage& message : messages) {
        if (options.selection.takes(message)) chosen.push_back(&message);
    }
    const std::size_t count = std::min(chosen.size(), options.most.value_or(chosen.size()));
    for (std::size_t i = chosen.size() - count; i < chosen.size(); ++i) {
        const std::string designation = options.files ? "" : designationOf(*chosen[i]);
        const auto line = options.json ? jsonLine : textLine;
        std::cout << line(*chosen[i], designation, options.language) << "\n";
    }
    std::cout << std::flush;
}

void say(const Options& options, const char* russian, const char* english) {
    std::cerr << "zrtjournal: " << (options.language == Language::ru ? russian : english) << "\n";
}

int showFiles(const Options& options) {
    const SavedCopies copies =
        readCopies(options.folder.empty() ? SRV_Path.PATHDB : options.folder);
    const std::size_t best = bestCopy(copies);
    if (options.json) {
        printCopiesJson(std::cout, copies, best, options.language);
    } else {
        printCopies(std::cerr, copies, best, options.language);
    }
    if (best == copies.size()) return kNoJournal;
    show(copies.at(best).messages.messages, options);
    for (const SavedCopy& copy : copies) {
        if (!copy.isAbsent() && !copy.isGood()) return kDamaged;
    }
    return kShown;
}

void sayWhyNot(const Options& options, int error) {
    if (error == ENOENT) {
        say(options,
            "журнала в памяти нет: контроллер не работает (сохранённое - с ключом --files)",
            "no journal in memory: the controller does not run (saved messages: --files)");
    } else if (error == EACCES) {
        say(options, "нет права читать журнал", "no right to read the journal");
    } else {
        say(options, "журнал в памяти не читается", "the journal in memory cannot be read");
        std::cerr << "zrtjournal: " << std::strerror(error) << "\n";
    }
}

// ---- Following ---------------------------------------------------------------------------------

volatile std::sig_atomic_t stopAsked = 0;

void askToStop(int /*signal*/) {
    stopAsked = 1;
}

/// Shows what was posted since the previous call.
class Follower {
  public:
    explicit Follower(Options& options) : options_(options) {}

    void begin(RingCopy& copy) {
        showNew(copy);
        options_.most.reset();  // it applies to the existing messages only
    }

    void showNew(RingCopy& copy) {
        if (copy.error != 0) {
            if (!isGone_) sayWhyNot(options_, copy.error);
            isGone_ = true;
            return;
        }
        isGone_ = false;
        auto& messages = copy.messages;
        if (messages.empty()) return;
        const Stamp newest = stampOf(messages.back());
        // If the journal was created again and the clock was set back, all messages are new.
        if (copy.id != ringId_ && newest < shown_) shown_ = Stamp{};
        ringId_ = copy.id;
        const bool wasShown = shown_ == Stamp{} || stampOf(messages.front()) <= shown_;
        if (!wasShown) {
            say(options_, "часть сообщений вытеснена новыми раньше, чем была показана",
                "some messages were overwritten before they could be shown");
        }
        std::erase_if(messages,
                      [&](const SRolMessage& message) { return stampOf(message) <= shown_; });
        show(messages, options_);
        shown_ = newest;
    }

  private:
    using Stamp = std::pair<std::int32_t, std::int32_t>;
    static Stamp stampOf(const SRolMessage& message) {
        const timeval_32 stamp = message.PseudoTimeStamp;
        return {stamp.tv_sec, stamp.tv_usec};
    }

    Options& options_;
    Stamp shown_{};
    int ringId_ = -1;
    bool isGone_ = false;
};

int follow(Options& options, RingCopy& copy) {
    struct sigaction action {};
    action.sa_handler = askToStop;
    for (const int signal : {SIGINT, SIGTERM}) {
        static_cast<void>(sigaction(signal, &action, nullptr));
    }
    Follower follower(options);
    follower.begin(copy);
    constexpr auto kPause = std::chrono::milliseconds(200);
    while (stopAsked == 0) {
        std::this_thread::sleep_for(kPause);
        RingCopy next = copyRing();
        follower.showNew(next);
    }
    return kShown;
}

int showRing(Options& options) {
    RingCopy copy = copyRing();
    if (options.follow) return follow(options, copy);
    if (copy.error != 0) {
        sayWhyNot(options, copy.error);
        return kNoJournal;
    }
    show(copy.messages, options);
    return kShown;
}

}  // namespace

int runProgram(int argc, const char* const* argv) {
    Options options;
    options.language = askedLanguage(argc, argv);
    CommandLine line("zrtjournal", kDescription, kFooter, options.language);
    declareOptions(line, options);
    if (const auto status = line.parse(argc, argv, kBadUsage)) return *status;
    const std::string problem = understand(options);
    if (!problem.empty()) {
        line.refuse(problem);
        return kBadUsage;
    }
    return options.files ? showFiles(options) : showRing(options);
}

void describe(Language language, const CommandLineReader& reader) {
    Options options;
    CommandLine line("zrtjournal", kDescription, kFooter, language);
    declareOptions(line, options);
    reader(line.app());
}

}  // namespace tools::zrtjournal
