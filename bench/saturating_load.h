#pragma once

#include <cstddef>
#include <functional>
#include <vector>

#include "bench/load_commands.h"
#include "bench/ua_connection.h"

namespace bench {

/// The requests that are sent to a server repeatedly.
struct Workload {
    std::vector<PreparedRequest> requests;
    std::size_t valuesPerRequest = 0;
    /// Checks the answer of each request once, before the measurement; throws UaError.
    std::function<void(const RawResponse&)> check;
};

/// Values that each server delivers while requests are always waiting. The servers take turns slice
/// by slice, so that the machine's other load affects all of them equally. Answers are not decoded
/// during the measurement, but each must be as long as the one that was checked. Prints one JSON
/// object.
/// @param prepare  makes the workload of one server over its own connection
void loadSaturating(const std::vector<Target>& targets, const LoadTimes& times,
                    const std::function<Workload(UaConnection&)>& prepare);

}  // namespace bench
