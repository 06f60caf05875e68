#pragma once

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "bench/ua_connection.h"

namespace bench {

/// How long something waited, in milliseconds.
class Waits {
  public:
    void add(double ms) { ms_.push_back(ms); }
    bool empty() const { return ms_.empty(); }

    /// Number, quantiles and longest wait as a JSON object. Throws UaError if there are none.
    std::string json() {
        std::sort(ms_.begin(), ms_.end());
        return R"({"count": )" + std::to_string(ms_.size()) + R"(, "p50": )" + quantile(0.5) +
               R"(, "p99": )" + quantile(0.99) + R"(, "p999": )" + quantile(0.999) +
               R"(, "max": )" + quantile(1.0) + "}";
    }

  private:
    std::string quantile(double share) const {
        if (ms_.empty()) throw UaError("nothing was measured");
        const auto rank = std::ceil(share * static_cast<double>(ms_.size()));
        return std::to_string(ms_[static_cast<std::size_t>(std::max(rank, 1.0)) - 1]);
    }

    std::vector<double> ms_;
};

}  // namespace bench
