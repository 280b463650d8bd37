// Box Explode.
#include "transitions/BoxExplode.h"

#include <cmath>

#include "scene/Particles.h"

namespace halcyra {
namespace {

constexpr ParameterDesc kBoxExplodeParameters[] = {
    FloatParam("Delay", 0.51f),
    FloatParam("Power", 0.225f),
    FloatParam("Spin", 0.25f, -100.0f, 100.0f),
    BoolParam("Reverse", false),
};
const EffectDescriptor kBoxExplodeDescriptor{"Corvane 3D Box Explode", 2, kBoxExplodeParameters};

constexpr int32_t kReverseIndex = 3;
// Hosts have always been asked for this index, which no parameter has; the
// answer is not used.
constexpr int32_t kUnusedIndex = 7;
constexpr double kCameraDistance = 10.0;

}  // namespace

D3DBoxExplode::D3DBoxExplode() : BaseEffect(kBoxExplodeDescriptor) {}

bool D3DBoxExplode::Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                           RenderInfo* info) {
    // Hosts see Reverse asked for once more before the frame; the pictures
    // are swapped where every transition swaps them, in RenderScene.
    ParameterReader read(host);
    read.Bool(kReverseIndex);
    return BaseEffect::Render(host, first, second, output, info);
}

Matrix3D BoxExplodeMatrix(double t, double spin, double depthFactor, double delay, double halfWidth) {
    const double s = spin;
    const double l = delay;
    const double u = l > t ? t : l;  // the time so far, stopped at the burst
    // 0.4 pi: the spin goes on after the burst.
    const double w = t > l && l < 1.0 ? (t - l) * 1.2566370801612687 / (1.0 - l) : 0.0;
    const double q = 1.0 - u * u;
    const double centre = halfWidth * depthFactor;
    Matrix3D m = Matrix3D::Translation(0.0, 0.0, centre);
    m = Multiply(m, Matrix3D::RotationX((std::sin(u * 3.140000104904175) + w) * s));
    m = Multiply(m, Matrix3D::RotationY(w * s + u * 6.28000020980835 * s));
    m = Multiply(m, Matrix3D::Scaling(q, q, q));
    m = Multiply(m, Matrix3D::Translation(0.0, 0.0, -centre));
    if (l > t) return Multiply(m, Matrix3D::Translation(0.0, 0.0, -t * 15.0));
    return Multiply(m, Matrix3D::Translation(0.0, 0.0, -l * 15.0 - (t - l) * 15.0 * (1.0 - t) * (1.0 - t)));
}

bool D3DBoxExplode::RenderScene(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                                double progress, MemoryAllocator*) {
    ParameterReader read(host);
    const float delay = read.Float(0);
    const float power = read.Float(1) * 10.0f + 1.0f;
    const float spin = (read.Float(2) * 10.0f - 5.0f) * 0.5f;
    read.Float(kUnusedIndex);
    const bool reverse = read.Bool(kReverseIndex);
    const double depthFactor = 1.0;

    ScenePictures pictures;
    AttachScenePictures(pictures, first, second, output, reverse);

    LinearLight light;
    SetUpLitScene(scene, light, 0.0, pictures.output, kCameraDistance);

    const double t = SceneTime(progress, reverse);
    const double l = delay;
    if (!ClearAtEnds(scene, pictures.first, pictures.second, t, true)) {
        scene.ClearToPicture(pictures.second, ColorRGB());
        // All six faces show the first picture, on both sides.
        QuadMesh box =
            QuadMeshCreator().MakeBox(scene.TopLeft(), scene.TopRight(), scene.BottomRight(),
                                      scene.BottomLeft(), -scene.ViewHalfWidth() * 2.0 * depthFactor,
                                      &pictures.first, &pictures.first, kBackFlipHorizontal);
        box.Transform(BoxExplodeMatrix(t, spin, depthFactor, l, scene.ViewHalfWidth()));
        const uint32_t flags = SceneDrawFlags();
        if (t < l || l >= 1.0) {
            // Whole, the box is a solid: its inner sides never show.
            scene.SetFlags(scene.GetFlags() & ~SceneFlagDoubleSided);
            scene.DrawMesh(box, flags);
        } else {
            // Burst, the pieces are thin plates that show both sides.
            scene.SetFlags(SceneFlagDoubleSided);
            const ParticleSystem pieces = ExplodeFaces(box, power, static_cast<double>(0.4f * spin));
            pieces.Draw(scene, (t - l) / (1.0 - l), flags, true);
        }
    }
    scene.ClearLights();
    scene.DeletePostEffects();
    return true;
}

}  // namespace halcyra
