// Wave (the 3D transition).
#include "transitions/Wave3D.h"

#include <cmath>

namespace halcyra {
namespace {

constexpr ParameterDesc kWaveParameters[] = {
    FloatParam("Shading", 0.5f), FloatParam("Bank", 0.5f, -100.0f, 100.0f),
    FloatParam("Delay", 0.07f),  FloatParam("Depth", 0.5f),
    BoolParam("Reverse", false),
};
const EffectDescriptor kWaveDescriptor{"Corvane 3D Wave", 2, kWaveParameters};

constexpr int32_t kStrips = 40;

}  // namespace

D3DWave::D3DWave() : BaseEffect(kWaveDescriptor) {}

WavePhases SplitWaveTime(double t, double delay) {
    if (t > delay) return {1.0, (t - delay) / (1.0 - delay)};
    return {t / delay, 0.0};
}

void BendIntoWave(QuadMesh& mesh, double p) {
    for (QuadFace& face : mesh.faces)
        for (Vector3D& c : face.corners) c.z = std::asin(c.y) * p;
}

Matrix3D WaveBankMatrix(double q, double bank) {
    return Matrix3D::RotationZ(q * 6.283185307179586 * bank);
}

void RollWave(QuadFace& face, double q, double depth) {
    const double e = 1.0 - q * q;
    for (Vector3D& c : face.corners) {
        c.z = c.z - q * depth;
        c.y = std::sin(c.z) * e;
    }
}

bool D3DWave::RenderScene(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                          double progress, MemoryAllocator*) {
    ParameterReader read(host);
    const float shading = read.Float(0);
    const float bank = read.Float(1) * 2.0f - 1.0f;
    const float delay = read.Float(2) * 0.5f + 0.01f;
    const float depth = read.Float(3) * 15.0f + 5.0f;
    const bool reverse = read.Bool(4);

    ScenePictures pictures;
    AttachScenePictures(pictures, first, second, output, reverse);

    LinearLight light;
    SetUpLitScene(scene, light, 1.0f - shading, pictures.output);
    scene.SetFlags(SceneFlagDoubleSided);

    const double t = SceneTime(progress, reverse);
    if (!ClearAtEnds(scene, pictures.first, pictures.second, t)) {
        // The second picture stands behind the sheet the whole time.
        scene.ClearToPicture(pictures.second, ColorRGB());
        QuadMesh sheet =
            QuadMeshCreator().MakeTiles(pictures.output.width, pictures.output.height, scene.TopLeft(),
                                        scene.TopRight(), scene.BottomRight(), scene.BottomLeft(), 1, kStrips,
                                        &pictures.first, &pictures.first, kBackFlipHorizontal, false);
        const WavePhases phases = SplitWaveTime(t, delay);
        BendIntoWave(sheet, phases.p);
        scene.SetWorldMatrix(WaveBankMatrix(phases.q, bank));
        if (phases.q > 0.0)
            for (QuadFace& face : sheet.faces) RollWave(face, phases.q, depth);
        scene.DrawMesh(sheet, SceneDrawFlags());
    }
    scene.ClearLights();
    return true;
}

}  // namespace halcyra
