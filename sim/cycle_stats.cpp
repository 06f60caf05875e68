#include "sim/cycle_stats.h"

#include <algorithm>
#include <iomanip>
#include <ostream>
#include <sstream>

#include "sim/failure.h"

namespace sim {

void CycleStats::logTo(const std::string& path) {
    log_.open(path);
    if (!log_) throw Failure(ExitCode::failed, "не открыть файл " + path);
}

void CycleStats::add(Clock::time_point due, Duration length, Duration lateness) {
    const auto us = [](Duration d) {
        return std::chrono::duration_cast<std::chrono::microseconds>(d).count();
    };
    if (log_.is_open()) {
        log_ << us(due.time_since_epoch()) << ' ' << us(lateness) << ' ' << us(length) << "\n"
             << std::flush;
    }
    ++cycles_;
    total_ += length;
    longest_ = std::max(longest_, length);
    latest_ = std::max(latest_, lateness);
}

void CycleStats::print(std::ostream& out) const {
    const auto ms = [](Duration d) { return std::chrono::duration<double, std::milli>(d).count(); };
    std::ostringstream line;
    line << std::fixed << std::setprecision(2) << "циклов " << cycles_ << ", длительность: средняя "
         << (cycles_ > 0 ? ms(total_) / static_cast<double>(cycles_) : 0.0) << " мс, наибольшая "
         << ms(longest_) << " мс; опоздание наибольшее " << ms(latest_) << " мс; пропущено "
         << skipped_ << "\n";
    out << line.str() << std::flush;
}

}  // namespace sim
