// Every catalogue row this build offers, one 1920x1080 frame at default
// parameters and progress 0.5 (transitions also at 0.25), beside a frame copy
// in the same run: read each effect as a ratio to the copy, since the
// machines are shared and noisy. Filter with --benchmark_filter=Row/22/ etc.
// Sweep/ runs each transition across the whole transition (progress 0.05 to
// 0.95), for targets that hold at any progress.
#include "bench/BenchSupport.h"

namespace {

using namespace halcyra;

void RegisterRows() {
    benchmark::RegisterBenchmark("FrameCopy", bench::FrameCopy)->Unit(benchmark::kMillisecond);
    for (int32_t index = 0; index < kCatalogueSize; ++index) {
        const CatalogueRow& row = CatalogueEntry(index);
        if (row.create == nullptr) continue;
        auto* b = benchmark::RegisterBenchmark("Row", bench::CatalogueRow)->ArgNames({"index", "progress%"});
        b->Args({index, 50});
        if (row.inputCount == 2) b->Args({index, 25});
        b->Unit(benchmark::kMillisecond);
        if (row.inputCount == 2) {
            auto* sweep =
                benchmark::RegisterBenchmark("Sweep", bench::CatalogueRow)->ArgNames({"index", "progress%"});
            for (int32_t percent = 5; percent < 100; percent += 10) sweep->Args({index, percent});
            sweep->Unit(benchmark::kMillisecond);
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    RegisterRows();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
