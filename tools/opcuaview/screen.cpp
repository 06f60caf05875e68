#include "tools/opcuaview/screen.h"

// The library's short names as functions, not as macros.
#define NCURSES_NOMACROS
#include <curses.h>
#include <langinfo.h>
#include <term.h>
// It has macros for the capabilities of terminals; these two are names here.
#undef columns
#undef lines

#include <climits>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "tools/opcuaview/language.h"

namespace tools::opcuaview {

struct Screen::Handle {
    SCREEN* screen = nullptr;
    bool colours = false;
};

namespace {

/// Texts are UTF-8, whatever the operator's settings are; the library goes by the locale.
void useUtf8() {
    std::setlocale(LC_CTYPE, "");
    if (std::strcmp(nl_langinfo(CODESET), "UTF-8") != 0) std::setlocale(LC_CTYPE, "C.UTF-8");
}

/// Whether the terminal's description is there and has what a full screen needs.
bool canMoveCursor() {
    int error = 0;
    if (setupterm(nullptr, fileno(stdout), &error) != OK) return false;
    char capability[] = "cup";
    const char* move = tigetstr(capability);
    const bool can = move != nullptr && move != reinterpret_cast<const char*>(-1);
    del_curterm(cur_term);
    return can;
}

struct Look {
    short foreground;  // -1: the terminal's own
    attr_t attributes;
};

/// By `Style`. The attributes alone must do on a terminal without colours.
constexpr Look kLooks[] = {
    {-1, A_NORMAL},
    {-1, A_REVERSE},
    {COLOR_RED, A_REVERSE | A_BOLD},
    {-1, A_DIM},
    {COLOR_GREEN, A_BOLD},
    {COLOR_CYAN, A_NORMAL},
    {COLOR_YELLOW, A_NORMAL},
    {COLOR_RED, A_BOLD},
};

bool prepareColours() {
    const char* none = std::getenv("NO_COLOR");
    if ((none != nullptr && *none != '\0') || !has_colors()) return false;
    start_color();
    const short background = use_default_colors() == OK ? short{-1} : short{COLOR_BLACK};
    short pair = 1;
    for (const Look& look : kLooks) {
        const bool own = look.foreground >= 0 || background < 0;
        init_pair(pair++, own ? look.foreground : short{COLOR_WHITE}, background);
    }
    return true;
}

}  // namespace

std::unique_ptr<Screen> Screen::open(std::string& problem) {
    const char* name = std::getenv("TERM");
    problem = in({"терминал ", "the terminal "}) + (name == nullptr ? "TERM" : name) +
              in({" не умеет показывать таблицу, печатаю строками",
                  " cannot show the table, printing lines"});
    useUtf8();
    if (!canMoveCursor()) return nullptr;
    std::unique_ptr<Screen> opened{new Screen};
    opened->handle_ = std::make_unique<Handle>();
    opened->handle_->screen = newterm(nullptr, stdout, stdin);
    if (opened->handle_->screen == nullptr) return nullptr;
    opened->handle_->colours = prepareColours();
    constexpr int kEscapeMs = 100;  // the bytes of one key may come slowly over a network
    set_escdelay(kEscapeMs);
    cbreak();  // Ctrl-C stays a signal
    noecho();
    nonl();
    keypad(stdscr, TRUE);
    curs_set(0);
    return opened;
}

Screen::~Screen() {
    if (handle_ == nullptr || handle_->screen == nullptr) return;
    // Where the terminal cannot bring back what was there before, messages follow an empty screen.
    wattr_set(stdscr, A_NORMAL, 0, nullptr);
    werase(stdscr);
    wrefresh(stdscr);
    endwin();
    delscreen(handle_->screen);
}

namespace {

Key functionKey(wint_t code) {
    switch (code) {
        case KEY_UP:
            return {Key::Kind::up};
        case KEY_DOWN:
            return {Key::Kind::down};
        case KEY_PPAGE:
            return {Key::Kind::pageUp};
        case KEY_NPAGE:
            return {Key::Kind::pageDown};
        case KEY_HOME:
        case KEY_FIND:
            return {Key::Kind::home};
        case KEY_END:
        case KEY_SELECT:
            return {Key::Kind::end};
        case KEY_ENTER:
            return {Key::Kind::enter};
        case KEY_BACKSPACE:
        case KEY_DC:
            return {Key::Kind::erase};
        default:
            return {};
    }
}

Key characterKey(wint_t code) {
    constexpr wint_t kEscape = 27;
    constexpr wint_t kDelete = 127;
    if (code == kEscape) return {Key::Kind::escape};
    if (code == L'\r' || code == L'\n') return {Key::Kind::enter};
    if (code == L'\b' || code == kDelete) return {Key::Kind::erase};
    if (code < L' ') return {};
    char bytes[MB_LEN_MAX];
    std::mbstate_t state{};
    const std::size_t length = std::wcrtomb(bytes, static_cast<wchar_t>(code), &state);
    if (length == static_cast<std::size_t>(-1)) return {};
    return {Key::Kind::text, std::string(bytes, length)};
}

}  // namespace

Key Screen::read(std::chrono::milliseconds most) {
    wtimeout(stdscr, static_cast<int>(most.count()));
    wint_t code = 0;
    const int kind = wget_wch(stdscr, &code);
    if (kind == KEY_CODE_YES) return functionKey(code);
    return kind == OK ? characterKey(code) : Key{};
}

TerminalSize Screen::begin() {
    // The size is asked for, because the signal does not reach a program in another session.
    const TerminalSize size = terminalSize();
    if (is_term_resized(size.rows, size.columns)) {
        resizeterm(size.rows, size.columns);
        clearok(stdscr, TRUE);
    }
    werase(stdscr);
    return size;
}

void Screen::put(int row, int column, const std::string& text, Style style, bool selected) {
    const auto index = static_cast<std::size_t>(style);
    const auto pair = handle_->colours ? static_cast<short>(index + 1) : short{0};
    const attr_t attributes = kLooks[index].attributes | (selected ? A_REVERSE : A_NORMAL);
    wattr_set(stdscr, attributes, pair, nullptr);
    mvwaddstr(stdscr, row, column, text.c_str());
}

void Screen::end() {
    wrefresh(stdscr);
}

}  // namespace tools::opcuaview
