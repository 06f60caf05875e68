#include <benchmark/benchmark.h>

#include <memory>
#include <string>

#include "bench/micro/controller.h"
#include "server/ServerState.h"
#include "server/UAServer.h"

namespace {

// The operative tree of all tags of the controller in a fresh server instance.
void TreeBuild(benchmark::State& state) {
    bench::attachController();
    const auto contextsBefore = varContexts.size();
    for (auto _ : state) {
        state.PauseTiming();
        auto server = std::make_unique<UAServer>();
        state.ResumeTiming();
        benchmark::DoNotOptimize(server->initializeOperativeTree());
        state.PauseTiming();
        server.reset();  // before the contexts, which its nodes point to
        varContexts.resize(contextsBefore);
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() *
                            static_cast<benchmark::IterationCount>(contextsBefore));
    state.SetLabel(std::to_string(contextsBefore) + " value nodes");
}
BENCHMARK(TreeBuild)->Unit(benchmark::kMillisecond);

}  // namespace
