// Support shared by the effect tests: an effect with its default parameters
// and a host ready to render it, the regression checksum of one frame of it,
// where a transform takes a point, a per-byte check against an expected rule,
// the blend of two pictures in 255ths, a run under every kernel class, and
// patterned or opaque pictures.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "TestHost.h"
#include "frame/EffectInterfaces.h"
#include "picture/kernels/CpuClass.h"
#include "picture/kernels/Numerics.h"

namespace halcyra::test {

// One effect object and a host answering its defaults.
template <class Effect>
struct Rig {
    Rig() { host.UseDefaults(&effect); }
    ParameterData& operator[](size_t index) { return host.values.at(index); }
    // Renders one frame; second may be null. Returns the output's pixels.
    std::vector<uint8_t> Render(GuardedFrame& first, GuardedFrame* second, GuardedFrame& out, double progress,
                                double time = 0.0) {
        RenderInfo info = MakeRenderInfo(progress, time);
        effect.Render(&host, &first.desc, second != nullptr ? &second->desc : nullptr, &out.desc, &info);
        return out.Pixels();
    }
    // A filter as hosts of filters call it: no render information at all.
    std::vector<uint8_t> Filter(GuardedFrame& in, GuardedFrame& out) {
        effect.Render(&host, &in.desc, nullptr, &out.desc, nullptr);
        return out.Pixels();
    }
    Effect effect;
    TestHost host;
};

// One frame of Effect over the checksum frames into a cleared output, its
// defaults changed by setup(rig); the output's checksum.
template <class Effect, class Setup>
uint32_t ChecksumOf(ChecksumFrames& frames, bool twoInputs, double progress, double time, Setup setup) {
    Rig<Effect> rig;
    setup(rig);
    frames.out.Fill(0);
    rig.Render(frames.a, twoInputs ? &frames.b : nullptr, frames.out, progress, time);
    return frames.out.Crc();
}
template <class Effect>
uint32_t ChecksumOf(ChecksumFrames& frames, bool twoInputs, double progress, double time = 0.0) {
    return ChecksumOf<Effect>(frames, twoInputs, progress, time, [](Rig<Effect>&) {});
}

// Where a transform (a row vector times its matrix) takes the point (x, y).
template <class Transform>
std::pair<float, float> MapPoint(const Transform& m, float x, float y) {
    return {m.matrix[0][0] * x + m.matrix[1][0] * y + m.matrix[2][0],
            m.matrix[0][1] * x + m.matrix[1][1] * y + m.matrix[2][1]};
}

inline void MakeOpaque(GuardedFrame& frame) {
    for (int32_t y = 0; y < frame.height; ++y)
        for (int32_t x = 0; x < frame.width; ++x) frame.Pixel(x, y)[3] = 255;
}

// Every byte of result is rule(first byte, second byte).
template <class Rule>
void ExpectEachByte(const std::vector<uint8_t>& result, const std::vector<uint8_t>& first,
                    const std::vector<uint8_t>& second, Rule rule) {
    ASSERT_EQ(result.size(), first.size());
    for (size_t i = 0; i < result.size(); ++i)
        ASSERT_EQ(result[i], rule(first[i], second.empty() ? first[i] : second[i])) << "byte " << i;
}

// The blend of two pictures with weights in 255ths; equal weights average.
inline uint8_t Blend255(uint8_t first, uint8_t second, uint32_t firstWeight, uint32_t secondWeight) {
    if (firstWeight == secondWeight) return AverageHalfEven(first, second);
    return static_cast<uint8_t>(std::min(255u, Div255(second * secondWeight) + Div255(first * firstWeight)));
}

// Runs body once under every kernel class this machine supports, so that the
// SIMD variants are held to the same bytes, then restores the class in force.
template <class Body>
void ForEachCpuClass(Body body) {
    const CpuClass saved = ActiveCpuClass();
    for (int k = 0; k < kCpuClassCount; ++k) {
        const auto cpuClass = static_cast<CpuClass>(k);
        if (!CpuClassSupported(cpuClass)) continue;
        SelectCpuClass(cpuClass);
        SCOPED_TRACE(testing::Message() << "kernel class " << k);
        body();
    }
    SelectCpuClass(saved);
}

// Checkerboard squares over two gradients, alpha falling to the right: edges
// for the sketch looks, bright and dark areas for the glow.
inline void FillShapes(GuardedFrame& frame, int32_t phase = 0) {
    for (int32_t y = 0; y < frame.height; ++y)
        for (int32_t x = 0; x < frame.width; ++x) {
            uint8_t* p = frame.Pixel(x, y);
            const bool square = (((x + phase) / 8 + y / 8) & 1) != 0;
            p[0] = static_cast<uint8_t>(x * 4 + phase);
            p[1] = static_cast<uint8_t>(y * 5);
            p[2] = static_cast<uint8_t>(square ? 220 : 30);
            p[3] = static_cast<uint8_t>(255 - x);
        }
}

}  // namespace halcyra::test
