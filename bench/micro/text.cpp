// Conversion of a tag's designation, nine letters, in both directions, as in each read and write of
// a text.
#include <benchmark/benchmark.h>

#include <string>

#include "server/text/ToUTF8Converter.h"
#include "server/text/Utf8ToCP866Converter.h"

namespace {

const std::string kDesignationUtf8 = "ТЕМПВОДА1";

void Cp866ToUtf8(benchmark::State& state) {
    const std::string cp866 = Utf8ToCP866Converter::convertUtf8ToCP866_manual(kDesignationUtf8);
    for (auto _ : state) {
        benchmark::DoNotOptimize(ToUTF8Converter::convertCP866ToUtf8_manual(cp866));
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(Cp866ToUtf8);

void Utf8ToCp866(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(Utf8ToCP866Converter::convertUtf8ToCP866_manual(kDesignationUtf8));
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(Utf8ToCp866);

}  // namespace
