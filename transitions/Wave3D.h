// Wave: the first picture as a sheet of strips bends into a wave along its
// height, then the wave rolls away into the depth while it flattens and the
// sheet banks, uncovering the second picture that stands behind it.
#pragma once

#include "scene/BaseEffect.h"

namespace halcyra {

class D3DWave final : public BaseEffect {
public:
    D3DWave();
    bool RenderScene(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                     double progress, MemoryAllocator* allocator) override;
};

// The sheet's time split at the delay T: p runs 0..1 in the bend phase up to
// T, q runs 0..1 in the roll phase after it.
struct WavePhases {
    double p;
    double q;
};
WavePhases SplitWaveTime(double t, double delay);

// Every corner takes z = asin(y) * p: a sine lying on its side.
void BendIntoWave(QuadMesh& mesh, double p);
// The turn of the sheet about the line of sight in the roll phase.
Matrix3D WaveBankMatrix(double q, double bank);
// The wave runs on into the depth by q * S while its height dies as 1 - q^2.
void RollWave(QuadFace& face, double q, double depth);

}  // namespace halcyra
