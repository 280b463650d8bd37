// The processor class that chooses which variant of each pixel routine runs.
// It is chosen once, at process attach, and read by every kernel entry point;
// the tests also reach every class the machine supports to compare variants.
#pragma once

namespace halcyra {

enum class CpuClass : int { Reference = 0, Avx2 = 1, Avx512 = 2 };
inline constexpr int kCpuClassCount = 3;

// The best class this processor and operating system support.
CpuClass DetectCpuClass();
// The class in force; Reference until SelectCpuClass runs.
CpuClass ActiveCpuClass();
// Called once at process attach (and by tests that pin a class).
void SelectCpuClass(CpuClass cpuClass);
// Whether this machine can run a given class.
bool CpuClassSupported(CpuClass cpuClass);

}  // namespace halcyra
