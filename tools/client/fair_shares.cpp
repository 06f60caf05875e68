#include "tools/client/fair_shares.h"

#include <algorithm>
#include <numeric>

namespace tools {

std::vector<std::size_t> fairShares(const std::vector<std::size_t>& sizes, std::size_t limit) {
    std::vector<std::size_t> shares(sizes.size(), 0);
    std::size_t left = std::min(limit, std::accumulate(sizes.begin(), sizes.end(), std::size_t{0}));
    while (left > 0) {
        std::size_t open = 0;
        for (std::size_t i = 0; i < sizes.size(); ++i)
            open += shares[i] < sizes[i] ? 1 : 0;
        const std::size_t each = std::max<std::size_t>(1, left / open);
        for (std::size_t i = 0; i < sizes.size(); ++i) {
            const std::size_t given = std::min({each, sizes[i] - shares[i], left});
            shares[i] += given;
            left -= given;
        }
    }
    return shares;
}

}  // namespace tools
