#include "sim/trends/past.h"

#include <algorithm>
#include <cmath>
#include <ostream>
#include <sstream>

#include "sim/failure.h"

namespace sim {

namespace {

constexpr std::int64_t kMicrosecondsPerSecond = 1'000'000;
constexpr std::int64_t kMegabyte = 1'000'000;

/// SQLite's log beside the archive, before its contents are moved there.
constexpr std::int64_t kLogBytes = 64 * kMegabyte;

std::string lengthText(std::int64_t seconds) {
    constexpr std::int64_t kDay = 86'400;
    constexpr std::int64_t kHour = 3600;
    std::ostringstream text;
    if (seconds >= kDay) {
        text << std::round(static_cast<double>(seconds) * 10 / kDay) / 10 << " сут";
    } else if (seconds >= kHour) {
        text << std::round(static_cast<double>(seconds) * 10 / kHour) / 10 << " ч";
    } else {
        text << seconds << " с";
    }
    return text.str();
}

}  // namespace

void Past::announce(const std::filesystem::path& folder, timeval now) {
    const std::int64_t end = now.tv_sec * kMicrosecondsPerSecond + now.tv_usec;
    std::int64_t begin = end - length_.count() * kMicrosecondsPerSecond;
    const auto span = recorder_.earlierSpan(end);
    if (span) begin = std::max(begin, span->last + kMicrosecondsPerSecond);
    seconds_ = std::max<std::int64_t>((end - begin) / kMicrosecondsPerSecond, 0);
    begin_ = {begin / kMicrosecondsPerSecond, begin % kMicrosecondsPerSecond};
    if (seconds_ == 0) {
        out_ << "История уже есть в архиве трендов.\n";
        return;
    }
    const auto pens = static_cast<std::int64_t>(recorder_.sampler().recordedPens());
    const auto bytes = static_cast<std::int64_t>(static_cast<double>(seconds_) *
                                                 recorder_.sampler().archiveGrowth());
    out_ << "История: " << lengthText(seconds_) << ", перьев " << pens << ", значений "
         << seconds_ * pens << "; архив трендов займёт до " << bytes / kMegabyte + 1 << " МБ\n";
    const auto free = static_cast<std::int64_t>(std::filesystem::space(folder).available);
    if (free < bytes + kLogBytes) {
        throw Failure(ExitCode::failed,
                      "для истории мало места: в " + folder.string() + " свободно " +
                          std::to_string(free / kMegabyte) + " МБ, нужно " +
                          std::to_string((bytes + kLogBytes) / kMegabyte + 1) + " МБ");
    }
}

void Past::make(Plant& plant, timeval (*clock)()) {
    constexpr std::int64_t kSecondsPerCommit = 21'600;
    constexpr std::int64_t kSecondsPerLook = 500;
    nextProgress_ = Clock::now() + std::chrono::seconds(1);
    timeval end = clock();
    std::int64_t made = 0;
    for (timeval time = begin_; time.tv_sec < end.tv_sec && stop_ == 0; ++time.tv_sec) {
        plant.cycle(time, 1.0F);
        recorder_.recordPast(time);
        ++made;
        if (made % kSecondsPerCommit == 0) recorder_.commit();
        if (made % kSecondsPerLook != 0 && time.tv_sec + 1 < end.tv_sec) continue;
        tellProgress(made);
        end = clock();
    }
    recorder_.commit();
}

void Past::tellProgress(std::int64_t made) {
    const auto now = Clock::now();
    if (now < nextProgress_) return;
    nextProgress_ = now + std::chrono::seconds(2);
    out_ << "История: готово " << std::min<std::int64_t>(made * 100 / seconds_, 100) << " % ("
         << lengthText(made) << ")" << std::endl;
}

}  // namespace sim
