#pragma once

#include <open62541/types.h>

#include <limits>
#include <string>

namespace tools::opcuaview {

/// One value of a variable as it was read, ready to be shown.
struct Reading {
    std::string value;    ///< as `formatValue` shows it
    std::string quality;  ///< as `formatQuality` shows it
    UA_StatusCode status = UA_STATUSCODE_GOOD;
    UA_DateTime time = 0;  ///< source time; 0: none
    double number =
        std::numeric_limits<double>::quiet_NaN();  ///< NaN: neither a number nor a Boolean
    bool isNumber = false;
    bool isFloating = false;  ///< Float or Double: what a unit of measurement belongs to
    bool hasValue = false;

    /// Whether an operator would see no difference but that of the time.
    [[nodiscard]] bool showsSameAs(const Reading& other) const {
        return value == other.value && quality == other.quality;
    }
};

[[nodiscard]] Reading readingOf(const UA_DataValue& data);

/// The source time with its date, "—" without one.
[[nodiscard]] std::string sourceTimeText(const Reading& reading);

}  // namespace tools::opcuaview
