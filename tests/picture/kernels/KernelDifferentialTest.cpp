// Every variant class this machine supports against the reference, byte for
// byte over whole buffers (padding and margins included, so a stray write shows
// too), on thousands of random cases per routine. A failure names its seed;
// HALCYRA_KERNEL_SEED=<seed> reruns just that case.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <limits>
#include <random>
#include <vector>

#include "picture/kernels/CpuClass.h"
#include "picture/kernels/KernelTable.h"
#include "picture/kernels/Kernels.h"
#include "picture/kernels/Numerics.h"

namespace halcyra::test {
namespace {

// A seeded generator whose bytes are biased to the edges, where rounding and
// saturation go wrong.
class Random {
public:
    explicit Random(uint64_t seed) : engine(seed) {}
    int32_t Int(int32_t lo, int32_t hi) { return std::uniform_int_distribution<int32_t>(lo, hi)(engine); }
    bool Chance(int32_t percent) { return Int(0, 99) < percent; }
    // Half the bytes are 0x00 or 0xFF or next to them; the rest uniform.
    uint8_t Byte() {
        static constexpr uint8_t kEdge[8] = {0x00, 0xFF, 0x01, 0xFE, 0x00, 0xFF, 0x02, 0xFD};
        const uint64_t bits = engine();
        return (bits & 0x80) == 0 ? kEdge[(bits >> 8) & 7] : static_cast<uint8_t>(bits >> 16);
    }
    // Widths 1 to 67 mostly, sometimes a long row.
    int32_t Width() { return Chance(8) ? Int(68, 700) : Int(1, 67); }
    std::mt19937_64 engine;
};

// A picture of width x height pixels inside a margin of `margin` pixels on
// every side, rows `pitch` bytes apart (sometimes padded), starting at a
// random misalignment.
struct TestPicture {
    TestPicture(Random& random, int32_t width, int32_t height, int32_t bytesPerPixel, int32_t margin = 0)
        : bytes(bytesPerPixel), margin(margin) {
        pitch = (width + 2 * margin) * bytesPerPixel + random.Int(0, 3) * random.Int(0, 37);
        offset = random.Int(0, 63);
        storage.resize(static_cast<size_t>(offset) + static_cast<size_t>(pitch) * (height + 2 * margin) + 64);
        for (uint8_t& b : storage) b = random.Byte();
    }
    // Pixel (0, 0) of the working area.
    uint8_t* Origin() {
        return storage.data() + offset + static_cast<size_t>(pitch) * margin + margin * bytes;
    }
    int32_t bytes, margin, pitch, offset;
    std::vector<uint8_t> storage;
};

// The classes this machine can run, other than the reference.
std::vector<CpuClass> VariantClasses() {
    std::vector<CpuClass> classes;
    for (int c = 1; c < kCpuClassCount; ++c)
        if (CpuClassSupported(static_cast<CpuClass>(c))) classes.push_back(static_cast<CpuClass>(c));
    return classes;
}

const char* ClassName(CpuClass cpuClass) {
    static constexpr const char* kNames[kCpuClassCount] = {"reference", "avx2", "avx512"};
    return kNames[static_cast<int>(cpuClass)];
}

using Body = std::function<void(const KernelTable&, uint8_t* destination)>;

// Runs `body` on a fresh copy of the destination for the reference and for
// every variant, and compares the copies.
class Comparison {
public:
    explicit Comparison(uint64_t seed) : seed(seed) {}
    void operator()(TestPicture& destination, const Body& body) {
        const ptrdiff_t origin = destination.Origin() - destination.storage.data();
        std::vector<uint8_t> expected = destination.storage;
        body(KernelTableFor(CpuClass::Reference), expected.data() + origin);
        for (CpuClass cpuClass : VariantClasses()) {
            std::vector<uint8_t> actual = destination.storage;
            body(KernelTableFor(cpuClass), actual.data() + origin);
            if (actual == expected) continue;
            size_t at = 0;
            while (actual[at] == expected[at]) ++at;
            const ptrdiff_t rel = static_cast<ptrdiff_t>(at) - origin;
            ADD_FAILURE() << ClassName(cpuClass) << " differs, seed 0x" << std::hex << seed << std::dec
                          << ": byte row " << std::floor(static_cast<double>(rel) / destination.pitch)
                          << " column " << (rel % destination.pitch + destination.pitch) % destination.pitch
                          << " (pixel size " << destination.bytes << "), got " << int(actual[at]) << " want "
                          << int(expected[at]);
            failed = true;
        }
    }
    uint64_t seed;
    bool failed = false;
};

// Runs `cases` seeded cases (or only the one named in the environment) and
// stops at the first failing seed.
template <class Case>
void ForEachSeed(uint64_t base, int32_t cases, Case makeCase) {
    const char* only = std::getenv("HALCYRA_KERNEL_SEED");
    const uint64_t first = only != nullptr ? std::strtoull(only, nullptr, 0) : base;
    if ((first >> 32) != (base >> 32)) return;
    for (int32_t i = 0; i < (only != nullptr ? 1 : cases); ++i) {
        Random random(first + static_cast<uint64_t>(i));
        Comparison compare(first + static_cast<uint64_t>(i));
        makeCase(random, compare);
        if (compare.failed) return;
    }
}

TEST(KernelDifferential, SetAndCopy) {
    ForEachSeed(0x100000000ull, 3000, [](Random& r, Comparison& compare) {
        const int32_t w = r.Width(), h = r.Int(1, 7);
        TestPicture source(r, w, h, 4), destination(r, w, h, 4), mask(r, w, h, 1);
        const uint8_t value[4] = {r.Byte(), r.Byte(), r.Byte(), r.Byte()};
        const uint8_t one = r.Byte();
        compare(destination,
                [&](const KernelTable& t, uint8_t* d) { t.set4(value, d, destination.pitch, w, h); });
        compare(mask, [&](const KernelTable& t, uint8_t* d) { t.set1(one, d, mask.pitch, w, h); });
        compare(destination, [&](const KernelTable& t, uint8_t* d) {
            t.copy4(source.Origin(), source.pitch, d, destination.pitch, w, h);
        });
    });
}

TEST(KernelDifferential, ByteArithmetic) {
    ForEachSeed(0x200000000ull, 4000, [](Random& r, Comparison& compare) {
        const int32_t w = r.Width(), h = r.Int(1, 7);
        TestPicture first(r, w, h, 4), second(r, w, h, 4), destination(r, w, h, 4);
        const uint8_t factors[4] = {r.Byte(), r.Byte(), r.Byte(), r.Byte()};
        const int32_t shift = r.Int(0, 1);
        const int32_t mode = r.Chance(50) ? 0 : 6;
        const int32_t wa = r.Int(0, 255), wb = r.Chance(30) ? 255 - wa + r.Int(-1, 1) : r.Int(0, 255);
        compare(destination, [&](const KernelTable& t, uint8_t* d) {
            t.scaleBytes4(factors, d, destination.pitch, w, h);
        });
        compare(destination, [&](const KernelTable& t, uint8_t* d) {
            t.addBytes4(first.Origin(), first.pitch, d, destination.pitch, w, h, shift);
        });
        compare(destination, [&](const KernelTable& t, uint8_t* d) {
            t.alphaComposite(first.Origin(), first.pitch, second.Origin(), second.pitch, d, destination.pitch,
                             w, h, mode);
        });
        // In place over the first input, as the effects call it.
        compare(first, [&](const KernelTable& t, uint8_t* d) {
            t.alphaComposite(d, first.pitch, second.Origin(), second.pitch, d, first.pitch, w, h, mode);
        });
        compare(destination, [&](const KernelTable& t, uint8_t* d) {
            t.mixBytes4(first.Origin(), first.pitch, second.Origin(), second.pitch, d, destination.pitch, w,
                        h, wa, ClampInt(wb, 0, 255));
        });
    });
}

// Factors mostly in the shading range, the rest where the 16-bit path ends and
// anywhere in int32, where products wrap and the new alpha goes negative.
int32_t AlphaFactor(Random& r) {
    static constexpr int32_t kHostile[] = {-1,         257,       258,       65535,     65536, 1 << 23,
                                           -(1 << 23), INT32_MAX, INT32_MIN, 0x1010101, -257,  1 << 24};
    const int32_t pick = r.Int(0, 3);
    if (pick < 2) return r.Int(0, 256);
    if (pick == 2)
        return WrapAdd(kHostile[r.Int(0, static_cast<int32_t>(std::size(kHostile)) - 1)], r.Int(-2, 2));
    return static_cast<int32_t>(static_cast<uint32_t>(r.engine()));
}

// Gains and thresholds over their whole accepted range (where products and
// sums come closest to 32 bits), and colours with channels at 0 and 255.
TEST(KernelDifferential, BoundedBloom) {
    ForEachSeed(0xB00000000ull, 3000, [](Random& r, Comparison& compare) {
        const int32_t w = r.Width(), h = r.Int(1, 7);
        TestPicture mixed(r, w, h, 4), destination(r, w, h, 4);
        BloomParameters bloom{r.Chance(20) ? r.Int(-(1 << 16), 1 << 16) : r.Int(0, 512),
                              r.Chance(20) ? r.Int(-(1 << 20), 1 << 20) : r.Int(-200, 60),
                              {}};
        for (int32_t& bound : bloom.bound) bound = r.Chance(30) ? 255 * r.Int(0, 1) : r.Int(0, 255);
        compare(destination, [&](const KernelTable& t, uint8_t* d) {
            t.boundedBloom4(mixed.Origin(), mixed.pitch, d, destination.pitch, w, h, bloom);
        });
    });
}

TEST(KernelDifferential, ScaleAlphaAndBlend) {
    ForEachSeed(0xA00000000ull, 4000, [](Random& r, Comparison& compare) {
        const int32_t w = r.Width(), h = r.Int(1, 7);
        TestPicture source(r, w, h, 4), destination(r, w, h, 4), pair(r, w, 2 * h, 4);
        const int32_t factor = AlphaFactor(r);
        compare(destination, [&](const KernelTable& t, uint8_t* d) {
            t.scaleAlpha4(source.Origin(), source.pitch, d, destination.pitch, w, h, factor);
        });
        compare(destination, [&](const KernelTable& t, uint8_t* d) {
            t.scaleAlpha4(d, destination.pitch, d, destination.pitch, w, h, factor);
        });
        // Both pictures of a blend change, so they share one buffer: the halves
        // or the even and odd rows.
        const int32_t wa = r.Int(0, 255), wb = r.Chance(20) ? 255 - wa : r.Int(0, 255);
        const bool interleaved = r.Chance(50);
        compare(pair, [&](const KernelTable& t, uint8_t* d) {
            if (interleaved)
                t.blendBytes4(d, 2 * pair.pitch, d + pair.pitch, 2 * pair.pitch, w, h, wa, wb);
            else
                t.blendBytes4(d, pair.pitch, d + static_cast<size_t>(pair.pitch) * h, pair.pitch, w, h, wa,
                              wb);
        });
    });
}

TEST(KernelDifferential, HsvRandom) {
    ForEachSeed(0x300000000ull, 3000, [](Random& r, Comparison& compare) {
        const int32_t w = r.Width(), h = r.Int(1, 5);
        TestPicture source(r, w, h, 4), destination(r, w, h, 4);
        compare(destination, [&](const KernelTable& t, uint8_t* d) {
            t.rgbToHsv(source.Origin(), source.pitch, d, destination.pitch, w, h);
        });
        compare(destination, [&](const KernelTable& t, uint8_t* d) {
            t.hsvToRgb(source.Origin(), source.pitch, d, destination.pitch, w, h);
        });
        compare(source, [&](const KernelTable& t, uint8_t* d) {
            t.rgbToHsv(d, source.pitch, d, source.pitch, w, h);
            t.hsvToRgb(d, source.pitch, d, source.pitch, w, h);
        });
    });
}

// Every one of the 2^24 inputs, both directions, a sixteenth at a time.
TEST(KernelDifferential, HsvExhaustive) {
    if (VariantClasses().empty()) GTEST_SKIP() << "no variants on this machine";
    Random r(0x400000000ull);
    TestPicture part(r, 4096, 256, 4);
    for (uint32_t high = 0; high < 16; ++high) {
        for (int32_t y = 0; y < 256; ++y)
            for (int32_t x = 0; x < 4096; ++x) {
                uint8_t* p = part.Origin() + static_cast<size_t>(y) * part.pitch + 4 * x;
                const uint32_t v = (high << 20) | (static_cast<uint32_t>(y) << 12) | static_cast<uint32_t>(x);
                p[0] = static_cast<uint8_t>(v), p[1] = static_cast<uint8_t>(v >> 8),
                p[2] = static_cast<uint8_t>(v >> 16);
            }
        Comparison compare(0x400000000ull + high);
        compare(part, [&](const KernelTable& t, uint8_t* d) {
            t.rgbToHsv(d, part.pitch, d, part.pitch, 4096, 256);
        });
        compare(part, [&](const KernelTable& t, uint8_t* d) {
            t.hsvToRgb(d, part.pitch, d, part.pitch, 4096, 256);
        });
        if (compare.failed) return;
    }
}

// Kernels whose float sums often land on halves, arbitrary ones, and whole
// numbers on both sides of the magnitude the integer form takes (128).
TEST(KernelDifferential, Convolve) {
    ForEachSeed(0x500000000ull, 3000, [](Random& r, Comparison& compare) {
        const int32_t kw = r.Int(1, 7), kh = r.Int(1, 7);
        const int32_t w = r.Chance(90) ? r.Int(1, 67) : r.Int(68, 300), h = r.Int(1, 6);
        TestPicture source(r, w, h, 4, 7), destination(r, w, h, 4);
        std::vector<float> kernel(static_cast<size_t>(kw) * kh);
        const int32_t kind = r.Int(0, 6);
        const int32_t scale = r.Int(1, 20);
        for (float& k : kernel) {
            const float choices[] = {static_cast<float>(r.Int(-8, 8)) * 0.5f,
                                     static_cast<float>(r.Int(-4, 4)) / static_cast<float>(kw * kh),
                                     static_cast<float>(r.Int(-1000000, 1000000)) * 1e-6f,
                                     1.0f / static_cast<float>(r.Int(1, 9)), static_cast<float>(r.Int(-8, 8)),
                                     static_cast<float>(scale * (r.Chance(20) ? -7 : 1)),
                                     // Sums past every int32 and float, and NaN from inf - inf.
                                     r.Chance(10) ? std::numeric_limits<float>::quiet_NaN()
                                                  : static_cast<float>(r.Int(-2, 2)) * 3e37f};
            k = choices[kind];
        }
        const int32_t ax = r.Int(0, kw - 1), ay = r.Int(0, kh - 1);
        compare(destination, [&](const KernelTable& t, uint8_t* d) {
            t.convolve(source.Origin(), source.pitch, d, destination.pitch, w, h, kernel.data(), kw, kh, ax,
                       ay);
        });
    });
}

// A kernel of one of the shapes the effects use or the sliding form must
// reject: triangles as the glow builds them, boxes, trapezoids, and random
// taps, some large enough that the 32-bit sums wrap.
std::vector<int32_t> FilterKernel(Random& r) {
    const int32_t shape = r.Int(0, 5), length = r.Chance(15) ? r.Int(60, 221) : r.Int(1, 41);
    std::vector<int32_t> k(static_cast<size_t>(length));
    for (int32_t i = 0; i < length; ++i) {
        const int32_t triangle = std::min(i + 1, length - i);  // the glow's
        // The last two are sparse but too wide for 16 bits, and sums that wrap.
        const int32_t choices[] = {triangle,
                                   3,
                                   std::min(triangle, 5) * 7,
                                   r.Int(-20, 300),
                                   triangle * 70001,
                                   r.Int(INT32_MIN / 2, INT32_MAX / 2)};
        k[i] = choices[shape];
    }
    return k;
}

int32_t FilterDivisorFor(Random& r, const std::vector<int32_t>& kernel) {
    int32_t sum = 0;
    for (int32_t k : kernel) sum = WrapAdd(sum, k);
    const int32_t choices[] = {1, 1 << r.Int(1, 16), sum != 0 ? sum : 3, r.Int(-5, -1), r.Int(2, 100000) | 1};
    const int32_t pick = r.Int(0, 5);
    return choices[pick == 5 ? 2 : pick];  // the kernel's own sum twice as often
}

TEST(KernelDifferential, SeparableFilters) {
    ForEachSeed(0x600000000ull, 2500, [](Random& r, Comparison& compare) {
        const std::vector<int32_t> kernel = FilterKernel(r);
        const int32_t length = static_cast<int32_t>(kernel.size());
        const int32_t anchor = r.Chance(50) ? length >> 1 : r.Int(0, length - 1);
        const int32_t divisor = FilterDivisorFor(r, kernel);
        // Long kernels on narrow pictures only: the direct reference is slow there.
        const int32_t w = r.Chance(90) || length > 41 ? r.Int(1, 67) : r.Int(68, 400), h = r.Int(1, 12);
        TestPicture source(r, w, h, 4, length), destination(r, w, h, 4);
        compare(destination, [&](const KernelTable& t, uint8_t* d) {
            ASSERT_TRUE(t.filterColumns(source.Origin(), source.pitch, d, destination.pitch, w, h,
                                        kernel.data(), length, anchor, FilterDivisorRule(divisor)));
        });
        compare(destination, [&](const KernelTable& t, uint8_t* d) {
            ASSERT_TRUE(t.filterRows(source.Origin(), source.pitch, d, destination.pitch, w, h, kernel.data(),
                                     length, anchor, FilterDivisorRule(divisor)));
        });
    });
}

TEST(KernelDifferential, Mean) {
    ForEachSeed(0x700000000ull, 3000, [](Random& r, Comparison& compare) {
        const int32_t w = r.Width(), h = r.Int(1, 9);
        const int32_t code = r.Chance(70) ? kMeanMask5x5 : kMeanMask3x3;
        TestPicture source(r, w, h, 1, 2), destination(r, w, h, 1);
        compare(destination, [&](const KernelTable& t, uint8_t* d) {
            t.mean(source.Origin(), source.pitch, d, destination.pitch, w, h, code);
        });
    });
}

// Discs as MorphPicture builds them, random nested runs, and masks with holes
// that the fast form must leave to the direct one.
std::vector<uint8_t> DilateMask(Random& r, int32_t& mw, int32_t& mh, int32_t& ax, int32_t& ay) {
    const int32_t kind = r.Int(0, 2);
    if (kind == 0) {
        const int32_t d = r.Chance(10) ? r.Int(16, 41) : r.Int(1, 15), radius = d >> 1;
        std::vector<uint8_t> mask(static_cast<size_t>(d) * d);
        for (int32_t y = 0; y < d; ++y)
            for (int32_t x = 0; x < d; ++x)
                mask[y * d + x] =
                    (x - radius) * (x - radius) + (y - radius) * (y - radius) <= radius * radius;
        mw = mh = d, ax = ay = radius;
        return mask;
    }
    mw = r.Int(1, 9), mh = r.Int(1, 9), ax = r.Int(0, mw - 1), ay = r.Int(0, mh - 1);
    std::vector<uint8_t> mask(static_cast<size_t>(mw) * mh);
    if (kind == 1) {
        int32_t lo = 0, hi = mw - 1;
        for (int32_t y = 0; y < mh; ++y) {
            if (r.Chance(15)) continue;
            lo = std::min(mw - 1, lo + r.Int(0, 1)), hi = std::max(lo, hi - r.Int(0, 1));
            for (int32_t x = lo; x <= hi; ++x) mask[y * mw + x] = static_cast<uint8_t>(r.Int(1, 255));
        }
    } else {
        for (auto& m : mask) m = r.Chance(40) ? static_cast<uint8_t>(r.Int(1, 255)) : 0;
    }
    return mask;
}

// Whole pictures, and regions that reach past the source on any side (the
// border replicated there), narrower or wider than the source.
TEST(KernelDifferential, Dilate) {
    ForEachSeed(0x800000000ull, 3000, [](Random& r, Comparison& compare) {
        int32_t mw, mh, ax, ay;
        const std::vector<uint8_t> mask = DilateMask(r, mw, mh, ax, ay);
        const int32_t sw = r.Width(), sh = r.Int(1, 12);
        const bool region = r.Chance(50);
        const KernelPoint origin = region ? KernelPoint{r.Int(-6, 6), r.Int(-6, 6)} : KernelPoint{0, 0};
        const int32_t w = region ? std::max(1, sw + r.Int(-6, 8)) : sw;
        const int32_t h = region ? std::max(1, sh + r.Int(-6, 8)) : sh;
        TestPicture source(r, sw, sh, 4), destination(r, w, h, 4);
        DilateState* state = nullptr;
        ASSERT_EQ(KernelDilateCreate(w + r.Int(0, 5), mask.data(), {mw, mh}, {ax, ay}, &state), kStatusOk);
        compare(destination, [&](const KernelTable& t, uint8_t* d) {
            t.dilate(source.Origin(), source.pitch, {sw, sh}, d, destination.pitch, origin, {w, h}, *state);
        });
        KernelDilateFree(state);
    });
}

// The entry points run the table of the active class; pinning each class in
// turn gives the same bytes through the public routines.
TEST(KernelDispatch, EntryPointsFollowTheActiveClass) {
    Random r(0x900000000ull);
    TestPicture source(r, 150, 9, 4, 40), expected(r, 150, 9, 4);
    std::vector<int32_t> kernel(61);
    for (int32_t i = 0; i < 61; ++i) kernel[i] = i < 31 ? i + 1 : 61 - i;
    TestPicture actual = expected;
    const CpuClass active = ActiveCpuClass();
    SelectCpuClass(CpuClass::Reference);
    ASSERT_EQ(FilterPictureRows(source.Origin(), source.pitch, expected.Origin(), expected.pitch, {150, 9},
                                kernel.data(), 61, 30, 961),
              kStatusOk);
    for (CpuClass cpuClass : VariantClasses()) {
        SelectCpuClass(cpuClass);
        TestPicture run = actual;
        ASSERT_EQ(FilterPictureRows(source.Origin(), source.pitch, run.Origin(), run.pitch, {150, 9},
                                    kernel.data(), 61, 30, 961),
                  kStatusOk);
        EXPECT_EQ(run.storage, expected.storage) << ClassName(cpuClass);
    }
    SelectCpuClass(active);
}

}  // namespace
}  // namespace halcyra::test
