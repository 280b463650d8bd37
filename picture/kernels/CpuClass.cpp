// Processor feature query. Compiled without instruction-set flags so that it
// runs on any x86-64 processor.
#include "picture/kernels/CpuClass.h"

namespace halcyra {
namespace {
CpuClass activeClass = CpuClass::Reference;
}

CpuClass DetectCpuClass() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_cpu_init();
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
        __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq") &&
        __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2"))
        return CpuClass::Avx512;
    if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2")) return CpuClass::Avx2;
#endif
    return CpuClass::Reference;
}

CpuClass ActiveCpuClass() {
    return activeClass;
}

void SelectCpuClass(CpuClass cpuClass) {
    activeClass = cpuClass;
}

bool CpuClassSupported(CpuClass cpuClass) {
    return static_cast<int>(cpuClass) <= static_cast<int>(DetectCpuClass());
}

}  // namespace halcyra
