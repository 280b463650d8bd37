// The unit tests' main. Like the library at process attach, it selects the
// best kernel class this processor has, so the effects' regression checksums
// hold the SIMD variants to the same bytes; `--cpu-class=reference` (or avx2,
// avx512) pins a class instead, and CTest runs the effect suites both ways.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "picture/kernels/CpuClass.h"

int main(int argc, char** argv) {
    using halcyra::CpuClass;
    CpuClass chosen = halcyra::DetectCpuClass();
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg.rfind("--cpu-class=", 0) != 0) continue;
        const std::string name = arg.substr(12);
        if (name == "reference") chosen = CpuClass::Reference;
        if (name == "avx2") chosen = CpuClass::Avx2;
        if (name == "avx512") chosen = CpuClass::Avx512;
        if (!halcyra::CpuClassSupported(chosen)) chosen = halcyra::DetectCpuClass();
    }
    halcyra::SelectCpuClass(chosen);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
