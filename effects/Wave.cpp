// Wave and Earthquake.
//
// The wave's sine is taken once per line and kept in a small table, so that
// both orientations walk the target row by row: the vertical form reads its
// columns through the source's pitch instead of walking the picture column by
// column. Each row first gets the source positions of all its pixels, in a
// loop without calls or branches, and then its pixels. The earthquake's walk is seeded by the frame number
// alone, which is why a stored position can be continued and a restart still finds the same path.
#include "effects/Wave.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <vector>

#include "effects/Camera.h"
#include "frame/ActivationManager.h"
#include "picture/MemoryAllocator.h"
#include "picture/PictureOps.h"
#include "picture/kernels/Numerics.h"

namespace halcyra {
namespace {

constexpr const char* kEdgesChoices[] = {"Replicate", "Stretch"};
constexpr const char* kOrientationChoices[] = {"Horizontal", "Vertical"};
constexpr ParameterDesc kWaveParameters[] = {
    FloatParam("Rate", 0.34f),
    FloatParam("Strength", 0.99f),
    FloatParam("Drift", 0.54f),
    FloatParam("Cross Fade", 0.24f),
    FloatParam("Crop", 0.32f),
    ChoiceParam("Edges", 1, kEdgesChoices),
    ChoiceParam("Orientation", 1, kOrientationChoices),
};
constexpr ParameterDesc kEarthquakeParameters[] = {
    FloatParam("Magnitude", 0.99f),
    FloatParam("Velocity", 0.99f),
};
const EffectDescriptor kWaveDescriptor{"Corvane Wave", 2, kWaveParameters};
const EffectDescriptor kEarthquakeDescriptor{"Corvane Earthquake", 5, kEarthquakeParameters};

// The cropped line of one target pixel. `line` is the source line's first
// pixel and `step` the distance between its pixels in bytes. A crop is sane
// when lo is not negative: the pair read inside it then lies on the line.
struct LineReader {
    int32_t length;
    int32_t lo;
    int32_t hi;
    int32_t loRead;  // lo and hi as pixels that exist, for absurd crops
    int32_t hiRead;
    bool blank;

    template <bool kSane>
    void Pixel(const uint8_t* line, intptr_t step, int32_t from, int32_t weight, uint8_t* out) const {
        if (from < lo) {
            if (blank)
                std::memset(out, 0, 4);
            else
                std::memcpy(out, line + step * loRead, 4);
        } else if (from < hi) {
            const uint8_t* a;
            const uint8_t* b;
            if constexpr (kSane) {
                a = line + step * from;
                b = a + step;
            } else {
                // A negative crop widens the range past the line's ends.
                a = line + step * ClampInt(from, 0, length - 1);
                b = line + step * ClampInt(WrapAdd(from, 1), 0, length - 1);
            }
            // Weights are 0..255 for any finite position; the clamp keeps
            // absurd amplitudes from overflowing the channel arithmetic.
            const int32_t w = ClampInt(weight, 0, 255);
            const int32_t wi = 255 - w;
            for (int c = 0; c < 4; ++c) out[c] = static_cast<uint8_t>(((a[c] * wi) >> 8) + ((b[c] * w) >> 8));
        } else {
            if (blank)
                std::memset(out, 0, 4);
            else
                std::memcpy(out, line + step * hiRead, 4);
        }
    }
};

// condition ? whenTrue : whenFalse on the bits, with both already computed:
// a select the compiler can vectorise, where it keeps a float expression
// inside a branch that it may not hoist.
inline float Select(bool condition, float whenTrue, float whenFalse) {
    const uint32_t mask = 0u - static_cast<uint32_t>(condition);
    return std::bit_cast<float>((std::bit_cast<uint32_t>(whenTrue) & mask) |
                                (std::bit_cast<uint32_t>(whenFalse) & ~mask));
}

// "Stretch" bends the line about its bend point so that both ends stay in
// place: u = position / length is mapped to v, one division either side.
inline float StretchedFraction(float u, float bend) {
    const bool before = u < bend;
    const float quotient = Select(before, u * 0.5f, (u - bend) * 0.5f) / Select(before, bend, 1.0f - bend);
    return Select(before, quotient, quotient + 0.5f);
}

// The line position of a stretched pixel, for any crop.
inline void StretchedPosition(float u, float bend, float lengthF, int32_t& from, int32_t& weight) {
    const float v = StretchedFraction(u, bend);
    from = TruncToInt32(std::floor(v * lengthF));
    weight = TruncToInt32((v * lengthF - static_cast<float>(from)) * 256.0f);
}

// The same for a sane crop. A position off the line takes the branch of
// either end whatever its exact value, so positions are clamped to -1..length
// (NaN to -1) first; within that range a plain conversion is exact and the
// loop has no calls or branches.
inline void StretchedPositionOnLine(float u, float bend, float lengthF, int32_t& from, int32_t& weight) {
    const float vl = StretchedFraction(u, bend) * lengthF;
    const float low = vl > -1.0f ? vl : -1.0f;
    const float clamped = low < lengthF ? low : lengthF;
    const int32_t whole = static_cast<int32_t>(clamped);
    from = whole - (static_cast<float>(whole) > clamped ? 1 : 0);  // floor
    weight = static_cast<int32_t>((clamped - static_cast<float>(from)) * 256.0f);
}

// What a warp needs besides its pictures.
struct WarpPlan {
    int32_t width;
    int32_t height;
    float lengthF;
    // Per line, the sine's share: the bend point of "Stretch", and the whole
    // and 256ths of the shift of the other forms.
    const float* bend;
    const int32_t* base;
    const int32_t* baseWeight;
    const float* fraction;  // position / length, per position
    LineReader reader;
};

// Walks the target row by row whatever the orientation: first the source
// positions of the whole row, then the pixels.
template <bool kSane, bool kVertical, bool kStretch>
void WarpRows(const Picture& source, Picture& target, const WarpPlan& plan, int32_t* from, int32_t* weight) {
    for (int32_t y = 0; y < plan.height; ++y) {
        for (int32_t x = 0; x < plan.width; ++x) {
            const int32_t line = kVertical ? x : y;
            const int32_t position = kVertical ? y : x;
            if constexpr (!kStretch) {
                from[x] = WrapAdd(position, plan.base[line]);
                weight[x] = plan.baseWeight[line];
            } else if constexpr (kSane) {
                StretchedPositionOnLine(plan.fraction[position], plan.bend[line], plan.lengthF, from[x],
                                        weight[x]);
            } else {
                StretchedPosition(plan.fraction[position], plan.bend[line], plan.lengthF, from[x], weight[x]);
            }
        }
        uint8_t* out = target.Row(y);
        if constexpr (kVertical) {
            // Row y is position y on every column line.
            for (int32_t x = 0; x < plan.width; ++x, out += 4)
                plan.reader.Pixel<kSane>(source.data + 4 * static_cast<intptr_t>(x), source.pitch, from[x],
                                         weight[x], out);
        } else {
            const uint8_t* line = source.Row(y);
            for (int32_t x = 0; x < plan.width; ++x, out += 4)
                plan.reader.Pixel<kSane>(line, 4, from[x], weight[x], out);
        }
    }
}

template <bool kSane>
void WarpFor(bool vertical, bool stretch, const Picture& source, Picture& target, const WarpPlan& plan,
             int32_t* from, int32_t* weight) {
    if (vertical) {
        if (stretch)
            WarpRows<kSane, true, true>(source, target, plan, from, weight);
        else
            WarpRows<kSane, true, false>(source, target, plan, from, weight);
    } else {
        if (stretch)
            WarpRows<kSane, false, true>(source, target, plan, from, weight);
        else
            WarpRows<kSane, false, false>(source, target, plan, from, weight);
    }
}

}  // namespace

void WaveLineWarp(const Picture& source, Picture& target, int32_t width, int32_t height,
                  const WaveLineSettings& settings) {
    if (source.data == nullptr || target.data == nullptr) return;
    width = std::min({width, source.width, target.width});
    height = std::min({height, source.height, target.height});
    if (width <= 0 || height <= 0) return;
    const bool vertical = settings.vertical;
    const int32_t length = vertical ? height : width;
    const int32_t lines = vertical ? width : height;
    const float lengthF = static_cast<float>(length);
    const float linesF = static_cast<float>(lines);

    const auto count = static_cast<size_t>(lines);
    std::vector<float> bend(count);
    std::vector<int32_t> base(count), baseWeight(count);
    for (int32_t k = 0; k < lines; ++k) {
        const float s = std::sin(settings.phase + (static_cast<float>(k) * settings.freq) / linesF);
        const float d = s * (settings.amp * lengthF);
        const auto i = static_cast<size_t>(k);
        bend[i] = 0.5f - s * settings.amp;
        base[i] = TruncToInt32(std::floor(d));
        baseWeight[i] = TruncToInt32((d - static_cast<float>(base[i])) * 256.0f);
    }
    std::vector<float> fraction(static_cast<size_t>(length));
    for (int32_t p = 0; p < length; ++p) fraction[static_cast<size_t>(p)] = static_cast<float>(p) / lengthF;

    WarpPlan plan;
    plan.width = width;
    plan.height = height;
    plan.lengthF = lengthF;
    plan.bend = bend.data();
    plan.base = base.data();
    plan.baseWeight = baseWeight.data();
    plan.fraction = fraction.data();
    LineReader& reader = plan.reader;
    reader.length = length;
    reader.lo = TruncToInt32(settings.crop * lengthF);
    reader.hi = WrapSub(WrapSub(length, reader.lo), 1);
    reader.loRead = ClampInt(reader.lo, 0, length - 1);
    reader.hiRead = ClampInt(reader.hi, 0, length - 1);
    // "Replicate" blanks what lies outside the crop; only the other choices
    // repeat the pixels at its ends.
    reader.blank = settings.edges == 0;
    const bool stretch = settings.edges == 1;

    std::vector<int32_t> from(static_cast<size_t>(width)), weight(static_cast<size_t>(width));
    if (reader.lo >= 0)
        WarpFor<true>(vertical, stretch, source, target, plan, from.data(), weight.data());
    else
        WarpFor<false>(vertical, stretch, source, target, plan, from.data(), weight.data());
}

CWave::CWave() : VideoEffectBase(kWaveDescriptor) {}

bool CWave::Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                   RenderInfo* info) {
    MemoryAllocator allocator(host, &workPictures);
    const float p = ClampProgress(info);
    ParameterReader read(host);
    const float rate = read.Float(0);
    const float strength = read.Float(1);
    const float drift = read.Float(2);
    const float crossFade = read.Float(3);
    const float crop = read.Float(4);
    const int32_t edges = read.Choice(5);
    const int32_t orientation = read.Choice(6);
    const double frameTime = TimeOf(info);

    RenderFrames frames(first, second, output, 2);
    Picture incoming;
    if (frames.usable) {
        // The first clip bends up to full strength, the second back down.
        const float c = crossFade * 0.5f + 0.5f;
        float a1 = 1.0f;
        if (p < c) a1 = p / c;
        const float b = 1.0f - c;
        float a2 = 1.0f;
        if (b < p) a2 = (1.0f - p) / (1.0f - b);
        a1 = a1 * (strength * strength * 1.2f);
        a2 = a2 * (strength * strength * 1.2f);

        WaveLineSettings settings;
        settings.crop = crop * 0.0499f;
        settings.phase = drift * 30.0f * static_cast<float>(frameTime);
        settings.freq = rate * rate * 20.0f * 6.283f;
        settings.edges = edges;
        settings.vertical = orientation != 0;
        settings.amp = a1;
        WaveLineWarp(frames.inputs[0], frames.output, frames.width, frames.height, settings);

        const float start = 0.5f - crossFade * 0.5f;
        if (!(p < start) && incoming.Allocate(frames.width, frames.height, 4, &allocator)) {
            settings.amp = a2;
            WaveLineWarp(frames.inputs[1], incoming, frames.width, frames.height, settings);
            if (p <= start + crossFade) {
                // A zero Cross Fade at p = 0.5 divides zero by zero, unguarded.
                const float f = ((p - start) / crossFade) * 255.0f;
                PictureOps::BlendPictures(incoming, frames.output, TruncToInt32(f), TruncToInt32(255.0f - f));
            } else {
                PictureOps::CopyPictureRect(incoming, 0, 0, frames.width, frames.height, frames.output, 0, 0);
            }
        }
    }
    HandToLicenceGate(host, output);
    return true;
}

float EarthquakeStepValue(float value, int32_t draw, float range, float stride) {
    const float low = -range;
    value = value + static_cast<float>(draw % 255) * 0.00390625f * stride * 2.0f - stride;
    if (value > range) {
        value = range - (value - range);
    } else if (value < low) {
        value = low + (low - value);
    }
    return value;
}

namespace {

// A coordinate that no further step can move: NaN stays NaN, and with a zero
// stride a value inside the range is neither moved nor reflected.
bool Standing(float value, float range, float stride) {
    return std::isnan(value) || (stride == 0.0f && !(value > range) && !(value < -range));
}

}  // namespace

CEarthquake::CEarthquake() : VideoEffectBase(kEarthquakeDescriptor) {}

EarthquakeStep CEarthquake::Walk(uint32_t frame, float range, float stride) {
    if (frame < lastFrame) {
        lastFrame = 0;
        x = 0.0f;
        y = 0.0f;
        rotation = 0.0f;
    }
    EarthquakeStep step;
    RandomSequence random;
    for (uint32_t i = lastFrame; i < frame; ++i) {
        // Steps that cannot move the walk leave only the last step's echo and
        // previous position to find; skipping them keeps a far frame with a
        // still walk (Magnitude 0, say) from costing a step per frame.
        if (i + 1 < frame && Standing(x, range, stride) && Standing(y, range, stride) &&
            Standing(rotation, range, stride))
            i = frame - 1;
        random.Seed(~i ^ (i << 3));
        step.px = x;
        step.py = y;
        x = EarthquakeStepValue(x, random.Draw(), range, stride);
        y = EarthquakeStepValue(y, random.Draw(), range, stride);
        rotation = EarthquakeStepValue(rotation, random.Draw(), range, stride);
        // One step in four echoes.
        const int32_t echo = (random.Draw() & 3) - 2;
        step.echo = echo < 0 ? 0 : echo;
    }
    lastFrame = frame;
    lastEcho = step.echo;
    step.x = x;
    step.y = y;
    step.rotation = rotation;
    return step;
}

bool CEarthquake::Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                         RenderInfo* info) {
    MemoryAllocator allocator(host, &workPictures);
    ParameterReader read(host);
    const float magnitude = read.Float(0);
    const float velocity = read.Float(1);
    // Frame numbers before the clip start are frame 0.
    const double position = TimeOf(info) * 30.0 + 1e-05;
    const uint32_t frame = position < 0.0 ? 0u : TruncToUint32(position);

    float range = magnitude * 0.06f;
    if (range < 0.0f) range = 0.0f;
    if (range > 1.0f) range = 1.0f;
    float vel = velocity;
    if (vel < 0.0f) vel = 0.0f;
    if (vel > 1.0f) vel = 1.0f;
    // The walk goes on whether or not this frame can be drawn.
    EarthquakeStep step = Walk(frame, range, vel * range);

    RenderFrames frames(first, second, output, 1);
    Picture echoPicture;
    if (frames.usable) {
        const float width = static_cast<float>(frames.width);
        const float height = static_cast<float>(frames.height);
        step.x = step.x * width;
        step.px = step.px * width;
        step.y = step.y * height;
        step.py = step.py * height;
        if (step.echo != 0) {
            // The echo's warp need not cover it all, and the blend reads all of it.
            if (echoPicture.Allocate(frames.width, frames.height, 4, &allocator))
                PictureOps::FillPicture(echoPicture, 0);
            else
                step.echo = 0;
        }
        for (int32_t i = 0; i <= step.echo; ++i) {
            // The enlargement hides the picture's edges while it moves.
            PictureTransform m;
            m.Translate(width * -0.5f, height * -0.5f);
            m.Scale(1.18f);
            m.Rotate(step.rotation);
            m.Translate(width * 0.5f, height * 0.5f);
            if (i == 0) {
                m.Translate(step.x, step.y);
                m.Warp(frames.inputs[0], frames.output);
            } else {
                m.Translate(step.px, step.py);
                m.Warp(frames.inputs[0], echoPicture);
                PictureOps::BlendPictures(echoPicture, frames.output, 128, 128);
            }
        }
    }
    HandToLicenceGate(host, output);
    return true;
}

}  // namespace halcyra
