#include <benchmark/benchmark.h>

#include <cstdio>

int main(int argc, char** argv) {
#ifndef __OPTIMIZE__
    (void)std::fputs("warning: built without optimisation, the figures mean nothing\n", stderr);
#endif
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    return benchmark::RunSpecifiedBenchmarks() == 0 ? 1 : 0;
}
