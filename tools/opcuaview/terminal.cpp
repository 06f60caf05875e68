#include "tools/opcuaview/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <mutex>

namespace tools::opcuaview {

bool isTerminal() {
    return isatty(STDOUT_FILENO) == 1;
}

bool hasKeyboard() {
    return isatty(STDIN_FILENO) == 1;
}

TerminalSize terminalSize() {
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row == 0 || size.ws_col == 0) {
        return {24, 80};
    }
    return {size.ws_row, size.ws_col};
}

namespace {

struct Messages {
    std::mutex mutex;  // guards all below
    bool held = false;
    std::vector<std::string> waiting;
};

Messages& messages() {
    static Messages all;
    return all;
}

void print(const std::string& text) {
    std::fprintf(stderr, "opcuaview: %s\n", text.c_str());
}

}  // namespace

void say(const std::string& text) {
    Messages& all = messages();
    const std::lock_guard lock{all.mutex};
    if (all.held) {
        all.waiting.push_back(text);
    } else {
        print(text);
    }
}

HeldMessages::HeldMessages() {
    const std::lock_guard lock{messages().mutex};
    messages().held = true;
}

HeldMessages::~HeldMessages() {
    Messages& all = messages();
    const std::lock_guard lock{all.mutex};
    all.held = false;
    for (const std::string& text : all.waiting)
        print(text);
    all.waiting.clear();
}

namespace {

std::atomic<bool> stopped{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler writes it");

}  // namespace

void catchStopSignals() {
    struct sigaction action {};
    action.sa_handler = [](int) { stopped = true; };
    // No SA_RESTART: a wait ends at once.
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT})
        sigaction(number, &action, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
}

bool stopRequested() {
    return stopped;
}

void requestStop() {
    stopped = true;
}

}  // namespace tools::opcuaview
