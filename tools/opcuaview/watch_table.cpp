#include "tools/opcuaview/watch_table.h"

#include <atomic>
#include <csignal>
#include <exception>
#include <thread>

#include "tools/opcuaview/table_feed.h"
#include "tools/opcuaview/table_view.h"

namespace tools::opcuaview {

namespace {

/// Runs the loop in a thread of its own.
class Reader {
  public:
    Reader(const WatchOptions& options, Board& board) : options_(options), feed_(board) {
        // Signals are for the thread that waits for keys.
        sigset_t all;
        sigset_t before;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before);
        thread_ = std::thread{[this] { run(); }};
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }
    ~Reader() { stop(); }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    [[nodiscard]] bool ended() const { return ended_; }

    /// Waits for the thread, which may wait for an answer of the server.
    void stop() {
        requestStop();
        if (thread_.joinable()) thread_.join();
    }

    /// After stop(). Throws what ended the thread.
    [[nodiscard]] ExitStatus status() const {
        if (failure_) std::rethrow_exception(failure_);
        return status_;
    }
    [[nodiscard]] WatchTotals totals() const { return feed_.totals(); }

  private:
    void run() noexcept {
        try {
            status_ = WatchLoop{options_, feed_}.run();
        } catch (...) {
            failure_ = std::current_exception();
        }
        ended_ = true;
    }

    const WatchOptions& options_;
    TableFeed feed_;
    std::atomic<bool> ended_{false};
    ExitStatus status_ = kDone;  // this and the failure belong to the thread until it has ended
    std::exception_ptr failure_;
    std::thread thread_;
};

}  // namespace

ExitStatus watchTable(const WatchOptions& options, std::unique_ptr<Screen> screen,
                      WatchTotals& totals) {
    constexpr std::chrono::milliseconds kLongestWait{50};
    const HeldMessages held;  // printed when everything below has ended
    Board board;
    Reader reader{options, board};
    {
        // Goes first, also when something throws: the reader may need some seconds to end.
        const std::unique_ptr<Screen> shown = std::move(screen);
        TableView view{board, *shown, options};
        do {
            view.draw();
        } while (!stopRequested() && !reader.ended() && view.press(shown->read(kLongestWait)));
    }
    reader.stop();
    totals = reader.totals();
    return reader.status();
}

}  // namespace tools::opcuaview
