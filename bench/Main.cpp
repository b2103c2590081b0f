#include "Bench.h"

#include <cstdlib>

bool bench::Quick() {
    static const bool quick = std::getenv("ZQ_BENCH_QUICK") != nullptr;
    return quick;
}

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::AddCustomContext("compiler", ZQ_BENCH_COMPILER);
    benchmark::AddCustomContext("absent", ZQ_BENCH_ABSENT);
    bench::Register();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
