#include "server/limits/RequestMemory.h"

#include <gtest/gtest.h>
#include <open62541/config.h>

#include <memory>

using Memory = std::unique_ptr<void, void (*)(void*)>;

static Memory array(std::size_t count) {
    return {UA_calloc(count, 1), [](void* memory) { UA_free(memory); }};
}

TEST(RequestMemory, CountsWhatIsKeptAndRefusesWhatIsTooMuch) {
    Memory kept(nullptr, nullptr);
    std::size_t bytes = 0;
    {
        const RequestMemory memory({.arrays = 5000, .grown = 4000});
        const Memory results = array(2000);
        EXPECT_EQ(memory.kept(), 0U);
        kept = array(1000);
        bytes = memory.kept();
        EXPECT_NE(array(500), nullptr) << "and goes again";
        EXPECT_EQ(memory.kept(), bytes);
        EXPECT_EQ(UA_realloc(kept.get(), 4001), nullptr);
        EXPECT_EQ(array(1500), nullptr);
        EXPECT_EQ(array(2), nullptr) << "as all that follow";
        EXPECT_NE(array(1), nullptr);
    }
    EXPECT_GE(bytes, 1000U);
    EXPECT_LT(bytes, 2000U);
    EXPECT_NE(array(10'000), nullptr) << "the request is over";
}
