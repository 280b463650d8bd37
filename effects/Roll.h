// Roll, Spin and Smear: three transitions. CRoll scrolls the cross-faded
// picture round with a wrap-around, speeding up to the middle and slowing
// down so that it comes to rest on a whole turn. CSpin smears each clip by
// rotation about a centre, CSmear along a straight line; both run on the
// two-way smearing frame of effects/Shear.h.
#pragma once

#include <cstdint>

#include "frame/EffectBase.h"
#include "picture/PictureGeometry.h"

namespace halcyra {

// Where the roll stands: the distance covered in picture lengths and the way
// it runs. The transition's length is recovered from the frame as time / p.
struct RollMotion {
    double position;
    bool forward;
};
RollMotion RollMotionAt(float p, double time, float rate);

// The rotation step of the spin about (cx, cy), fractions of width x height.
PictureTransform SpinStep(float angle, float cx, float cy, float width, float height);

// The straight step of the smear: `step` pixels along the direction `angle`.
PictureTransform SmearStep(float step, float angle);

class CRoll final : public VideoEffectBase {
public:
    CRoll();
    bool Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                RenderInfo* info) override;
};

class CSpin final : public VideoEffectBase {
public:
    CSpin();
    bool Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                RenderInfo* info) override;
};

class CSmear final : public VideoEffectBase {
public:
    CSmear();
    bool Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                RenderInfo* info) override;
};

}  // namespace halcyra
