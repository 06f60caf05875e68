#include "server/memory/FreeMemory.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <memory>
#include <vector>

static std::size_t residentBytes() {
    std::size_t mapped = 0;
    std::size_t resident = 0;
    std::ifstream("/proc/self/statm") >> mapped >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

TEST(FreeMemory, GoesBackToTheSystemWithinAMinuteOrTwo) {
    const std::size_t before = residentBytes();
    constexpr std::size_t kPieces = 500'000;
    std::vector<std::unique_ptr<char[]>> pieces(kPieces);
    for (auto& piece : pieces)
        piece = std::make_unique<char[]>(200);
    pieces.clear();
    ASSERT_GT(residentBytes(), before + (std::size_t{50} << 20)) << "the allocator keeps it";
    for (int second = 0; second < 120; ++second)
        returnFreeMemory();
    EXPECT_LT(residentBytes(), before + (std::size_t{10} << 20));
}
