// The cost of one read in this server beyond the OPC UA library: the callback and the database
// access.
#include <benchmark/benchmark.h>

#include <cstdint>

#include "bench/micro/controller.h"
#include "lib/bd_vesk/bdvesk.h"
#include "server/ServerState.h"
#include "server/opcua/UaHandle.h"
#include "server/values/UARTEXVariable.h"

namespace {

// One read of each of `range` nodes, in the order in which they were made.
void ReadCallback(benchmark::State& state) {
    bench::attachController();
    const auto nodes = static_cast<std::size_t>(state.range(0));
    if (varContexts.size() < nodes) {
        state.SkipWithError("the controller has too few variables");
        return;
    }
    for (auto _ : state) {
        for (std::size_t i = 0; i < nodes; ++i) {
            OwnedDataValue value;
            benchmark::DoNotOptimize(UAServer::readNodeValue(nullptr, nullptr, nullptr, nullptr,
                                                             varContexts[i].get(), true, nullptr,
                                                             value.get()));
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(ReadCallback)->Arg(1)->Arg(100)->Arg(1000)->Arg(10'000);

// An attribute of the passport (29) and the current value (0).
void GetVal(benchmark::State& state) {
    bench::attachController();
    SVariable variable{};
    variable.type = 1;
    variable.num = 1;
    variable.num_atr = static_cast<std::uint16_t>(state.range(0));
    for (auto _ : state) {
        SVal value;
        benchmark::DoNotOptimize(UARTEXVariable::veskdb.getVal(variable, &value));
        benchmark::DoNotOptimize(value);
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(GetVal)->Arg(0)->Arg(29);

}  // namespace
