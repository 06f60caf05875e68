#include "server/limits/BoundedLog.h"

#include <open62541/plugin/log_stdout.h>
#include <open62541/types.h>

#include <cstdarg>

namespace {

UA_DateTime minuteEnds = 0;  // by the monotonic clock
int lines = 0;               // in this minute

bool mayPrint(const UA_Logger& log) {
    const UA_DateTime now = UA_DateTime_nowMonotonic();
    if (now >= minuteEnds) {
        minuteEnds = now + 60 * UA_DATETIME_SEC;
        lines = 0;
    }
    if (lines > kLogLinesPerMinute) return false;
    if (++lines <= kLogLinesPerMinute) return true;
    UA_LOG_ERROR(&log, UA_LOGCATEGORY_SERVER,
                 "%d messages in less than a minute: further ones are left out until it is over",
                 kLogLinesPerMinute);
    return false;
}

/// @param context  the least level, as the library's own log has it
void print(void* context, UA_LogLevel level, UA_LogCategory category, const char* message,
           va_list arguments) {
    const auto least = static_cast<UA_LogLevel>(reinterpret_cast<std::uintptr_t>(context));
    if (level < least) return;
    const UA_Logger log = UA_Log_Stdout_withLevel(least);
    if (level < UA_LOGLEVEL_FATAL && !mayPrint(log)) return;
    log.log(log.context, level, category, message, arguments);
}

}  // namespace

UA_Logger boundedLog(UA_LogLevel level) noexcept {
    UA_Logger log = UA_Log_Stdout_withLevel(level);
    log.log = print;
    return log;
}
