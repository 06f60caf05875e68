#include "tools/opcuacheck/nearest.h"

#include <algorithm>

#include "server/config/IniText.h"

namespace tools::opcuacheck {

namespace {

/// The number of letters to insert, delete, replace or swap with the next one, at most `limit` + 1.
std::size_t distance(std::string_view a, std::string_view b, std::size_t limit) {
    const std::size_t difference = a.size() > b.size() ? a.size() - b.size() : b.size() - a.size();
    if (difference > limit) return limit + 1;
    std::vector<std::vector<std::size_t>> cost(a.size() + 1,
                                               std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i) {
        for (std::size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                cost[i][j] = i + j;
                continue;
            }
            const std::size_t replaced = cost[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            cost[i][j] = std::min({cost[i - 1][j] + 1, cost[i][j - 1] + 1, replaced});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                cost[i][j] = std::min(cost[i][j], cost[i - 2][j - 2] + 1);
            }
        }
    }
    return cost[a.size()][b.size()];
}

}  // namespace

std::string nearest(std::string_view name, const std::vector<std::string>& candidates) {
    const std::string low = lowered(name);
    const std::string* best = nullptr;
    std::size_t bestDistance = 0;
    for (const std::string& candidate : candidates) {
        // Short keys must not differ in two letters: "RD" does not mean "VA".
        const std::size_t limit = std::min<std::size_t>(3, candidate.size() / 3);
        const std::size_t d = distance(low, lowered(candidate), limit);
        if (d > limit || (best != nullptr && d >= bestDistance)) continue;
        best = &candidate;
        bestDistance = d;
    }
    return best == nullptr ? std::string() : *best;
}

}  // namespace tools::opcuacheck
