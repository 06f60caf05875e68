#include "tools/opcuaview/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

namespace tools::opcuaview {

bool isTerminal() {
    return isatty(STDOUT_FILENO) == 1;
}

TerminalSize terminalSize() {
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row == 0 || size.ws_col == 0) {
        return {24, 80};
    }
    return {size.ws_row, size.ws_col};
}

void say(const std::string& text) {
    std::fprintf(stderr, "opcuaview: %s\n", text.c_str());
}

namespace {

void put(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

}  // namespace

Screen::Screen() {
    put("\x1b[?25l");
}  // cursor off

Screen::~Screen() {
    put("\x1b[?25h");
}

void Screen::draw(const std::vector<std::string>& lines) {
    std::string frame;
    if (drawn_ > 0) frame = "\x1b[" + std::to_string(drawn_) + "A";
    for (const std::string& line : lines)
        frame += "\r" + line + "\x1b[K\n";
    put(frame + "\x1b[J");
    drawn_ = lines.size();
}

namespace {

volatile std::sig_atomic_t stopSignal = 0;

void rememberSignal(int number) {
    stopSignal = number;
}

}  // namespace

void catchStopSignals() {
    struct sigaction action {};
    action.sa_handler = rememberSignal;  // no SA_RESTART: a wait for the server ends at once
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
}

bool stopRequested() {
    return stopSignal != 0;
}

}  // namespace tools::opcuaview
