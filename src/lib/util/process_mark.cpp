#include "lib/util/process_mark.h"

#include <cerrno>
#include <csignal>
#include <fstream>
#include <iterator>
#include <sstream>
#include <vector>

namespace {

bool exists(pid_t pid) {
    return pid > 0 && (kill(pid, 0) == 0 || errno == EPERM);
}

struct ProcStat {
    std::string state;  // one letter; empty when it cannot be read
    std::string start;
};

ProcStat readStat(pid_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string text;
    std::getline(file, text, '\0');
    // The name is in brackets and may hold any character; what follows it are words.
    std::istringstream behindName(text.substr(text.rfind(')') + 1));
    const std::vector<std::string> words{std::istream_iterator<std::string>(behindName), {}};
    constexpr std::size_t kState = 0;
    constexpr std::size_t kStart = 19;
    if (words.size() <= kStart) return {};
    return {words[kState], words[kStart]};
}

}  // namespace

ProcessMark::ProcessMark(pid_t pid) : pid_(pid), start_(readStat(pid).start) {}

bool ProcessMark::isAlive() const {
    if (!exists(pid_)) return false;
    const ProcStat now = readStat(pid_);
    if (now.state.empty()) return true;
    return now.start == start_ && now.state != "Z";
}
