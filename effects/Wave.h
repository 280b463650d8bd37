// Wave and Earthquake. CWave is the transition that shifts the rows (or the
// columns) of both clips along a travelling sine, hardest in the middle of the
// transition, and fades between them. CEarthquake is the filter behind its
// wrapper that throws the picture about on a random walk; it is the one 2D
// effect that remembers something between frames, the position its walk has
// reached, so that playing forward costs one step per frame.
#pragma once

#include <cstdint>

#include "frame/EffectBase.h"

namespace halcyra {

// How the lines of a picture are bent: the sine's frequency over all lines,
// its phase, the amplitude as a fraction of a line, the share of each end of
// a line that is cropped away, the "Edges" choice and the orientation.
struct WaveLineSettings {
    float freq;
    float phase;
    float amp;
    float crop;
    int32_t edges;  // 1 "Stretch" bends each line about its middle; others shift it
    bool vertical;  // the lines are columns
};

// Bends the width x height area of source into target, line by line with
// one sine per line. Every target pixel of the area is written.
void WaveLineWarp(const Picture& source, Picture& target, int32_t width, int32_t height,
                  const WaveLineSettings& settings);

class CWave final : public VideoEffectBase {
public:
    CWave();
    bool Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                RenderInfo* info) override;
};

// One step of the walk moves a coordinate by a random stride and reflects it
// back into -range..range. The lower bound is strict, the upper is not.
float EarthquakeStepValue(float value, int32_t draw, float range, float stride);

// Where the walk stands for a frame: the position (fractions of the picture)
// and the angle, the position one step before, and whether this frame echoes
// that previous position.
struct EarthquakeStep {
    float x = 0.0f;
    float y = 0.0f;
    float px = 0.0f;
    float py = 0.0f;
    float rotation = 0.0f;
    int32_t echo = 0;
};

class CEarthquake final : public VideoEffectBase {
public:
    CEarthquake();
    bool Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                RenderInfo* info) override;

    // Walks on from the frame reached so far to `frame`, or from zero when
    // `frame` lies behind it, and stores the new position.
    EarthquakeStep Walk(uint32_t frame, float range, float stride);

private:
    float x = 0.0f;
    float y = 0.0f;
    float rotation = 0.0f;
    uint32_t lastFrame = 0;
    int32_t lastEcho = 0;
};

}  // namespace halcyra
