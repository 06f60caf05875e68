#include "tools/opcuaweb/basics/report.h"

#include <iostream>

#include "tools/client/format.h"

namespace tools::opcuaweb {

void report(UA_DateTime time, const std::string& line) {
    std::cout << formatTime(time) + "  " + line + "\n" << std::flush;
}

}  // namespace tools::opcuaweb
