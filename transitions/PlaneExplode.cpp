// Plane Explode.
#include "transitions/PlaneExplode.h"

#include <cmath>

#include "picture/MemoryAllocator.h"
#include "picture/PictureOps.h"
#include "picture/kernels/Numerics.h"
#include "transitions/DreamGlow.h"

namespace halcyra {
namespace {

constexpr int32_t kTrailCountIndex = 4;
constexpr int32_t kTrailSpacingIndex = 5;
constexpr int32_t kReverseIndex = 7;

constexpr ParameterDesc kPlaneParameters[] = {
    FloatParam("Delay", 0.25f),
    FloatParam("Velocity", 0.26f),
    WithRangeExtra(FloatParam("Columns", 0.3f, 0.0f, 10.0f)),
    WithRangeExtra(FloatParam("Rows", 0.3f, 0.0f, 10.0f)),
    FloatParam("Trail Count", 0.0f, 0.0f, 5.0f),
    FloatParam("Trail Spacing", 0.1f),
    PointParam("Incline", 0.5f, 0.5f),
    BoolParam("Reverse", false),
};
const EffectDescriptor kPlaneDescriptor{"Corvane 3D Plane Explode", 2, kPlaneParameters};

// Tile counts beyond the parameter's range only come from a misbehaving
// host; capped so that a frame stays finite.
constexpr int32_t kMaxTiles = 64;

int32_t PlaneTileCount(float value) {
    return ClampInt(WrapAdd(TruncToInt32(value * 10.0f), 1), 0, kMaxTiles);
}

}  // namespace

D3DPlaneExplode::D3DPlaneExplode() : BaseEffect(kPlaneDescriptor) {}

Matrix3D PlaneWorldMatrix(double d, double ix, double iy) {
    // The middle factor is a fixed strength of 1.0 * 2 - 1.
    const double strength = 1.0 * 2.0 - 1.0;
    Matrix3D m = Matrix3D::RotationX((iy * 2.0 - 1.0) * strength * d * 3.0);
    m = Multiply(m, Matrix3D::RotationY((ix * 2.0 - 1.0) * strength * d * 3.0));
    const double s = 1.0 - d * d;
    m = Multiply(m, Matrix3D::Scaling(s, s, s));
    return Multiply(m, Matrix3D::Translation(0.0, 0.0, -d * 10.0));
}

ParticleSystem BuildPlaneParticles(const QuadMesh& mesh, double velocity) {
    ParticleSystem system;
    const Vector3D middle = mesh.Centre();
    for (const QuadFace& face : mesh.faces) {
        const Vector3D c = face.Centre();
        // Not normalised: tiles far from the centre fly faster.
        const Vector3D v = c - middle;
        QuadMesh piece;
        piece.AddFace(face);
        system.Add(Particle3D(c, c + v * velocity, Vector3D(), Vector3D(), 0.0, 1.0), piece);
    }
    return system;
}

bool MotionBlurEffect::RenderWithTrail(IVideoHost* host, ImageDesc* first, ImageDesc* second,
                                       ImageDesc* output, double progress, MemoryAllocator* allocator) {
    if (inner == nullptr) return false;
    const int32_t n = TruncToInt32(trailCount * 20.0f + 2.0f);
    const float s = trailSpacing * 0.5f;
    if (progress <= 0.0 || progress >= 1.0 || n < 2)
        return inner->RenderScene(host, first, second, output, progress, allocator);
    const float step = s / static_cast<float>(n);
    Picture out;
    AttachFrame(out, output);
    Picture work;
    if (!work.Allocate(out.width, out.height, out.bytesPerPixel, allocator)) return false;
    ImageDesc workDesc{};
    workDesc.data = work.data;
    workDesc.width = work.width;
    workDesc.height = work.height;
    workDesc.pitch = work.pitch;
    workDesc.bytesPerPixel = work.bytesPerPixel;
    workDesc.format = work.format;
    // Oldest moment first; each later one halves the weight of all before it.
    for (int32_t i = n - 1; i >= 0; --i) {
        const double ti = progress - step * static_cast<float>(i);
        if (!(ti >= 0.0 && ti <= 1.0)) continue;
        inner->RenderScene(host, first, second, &workDesc, ti, allocator);
        if (i == n - 1)
            PictureOps::CopyPicture(work, out);
        else
            PictureOps::MixPictures(work, out, out, 0.5f, 0.5f);
    }
    return false;
}

bool D3DPlaneExplode::Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                             RenderInfo* info) {
    return RenderFrame(host, output, info, [&](MemoryAllocator* allocator, double progress) {
        ParameterReader read(host);
        const float trailCount = read.Float(kTrailCountIndex);
        const float trailSpacing = read.Float(kTrailSpacingIndex);
        const bool reverse = read.Bool(kReverseIndex);
        if (trailCount < 0.1f) return RenderScene(host, first, second, output, progress, allocator);
        // RenderScene swaps the inputs once more, so with a trail only the time runs backward.
        MotionBlurEffect trail(trailCount, trailSpacing, reverse, this);
        return trail.RenderWithTrail(host, reverse ? second : first, reverse ? first : second, output,
                                     progress, allocator);
    });
}

bool D3DPlaneExplode::RenderScene(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                                  double progress, MemoryAllocator* allocator) {
    ParameterReader read(host);
    const float delay = read.Float(0);
    const float velocity = read.Float(1) * 10.0f + 1.0f;
    const int32_t columns = PlaneTileCount(read.Float(2));
    const int32_t rows = PlaneTileCount(read.Float(3));
    float inclineX, inclineY;
    read.Point(6, inclineX, inclineY);
    const bool reverse = read.Bool(kReverseIndex);
    const float ix = 1.0f - inclineX;
    const float iy = inclineY;

    ScenePictures pictures;
    AttachScenePictures(pictures, first, second, output, reverse);

    LinearLight light;
    SetUpLitScene(scene, light, 1.0 - 0.6, pictures.output);
    scene.SetFlags(SceneFlagDoubleSided);

    const double t = SceneTime(progress, reverse);
    const double burst = delay;
    if (!ClearAtEnds(scene, pictures.first, pictures.second, t, true)) {
        scene.ClearToPicture(pictures.second, ColorRGB());
        // The whole plane stops moving at the burst.
        const double d = burst < t ? burst : t;
        // Applied to the mesh, not set as the world matrix, which stays as it is.
        const Matrix3D plane = PlaneWorldMatrix(d, ix, iy);
        // No spread and no gain: the glow leaves every face as it is.
        const double h = std::sin(t * M_PI * 0.5);
        const uint32_t level = static_cast<uint8_t>(ClampInt(TruncToInt32(255.0 - h * 255.0), 0, 255));
        scene.AddPostEffect(new PRDreamGlowEffect(level | level << 8 | level << 16, 0.0f, 0.0f, allocator));

        const uint32_t flags = SceneDrawFlags();
        QuadMeshCreator creator;
        if (t < burst || burst >= 1.0) {
            QuadMesh whole =
                creator.MakeGrid(scene.TopLeft(), scene.TopRight(), scene.BottomRight(), scene.BottomLeft(),
                                 1, 1, &pictures.first, &pictures.first, kBackFlipHorizontal);
            whole.Transform(plane);
            scene.DrawMesh(whole, flags);
        } else {
            QuadMesh tiles =
                creator.MakeGrid(scene.TopLeft(), scene.TopRight(), scene.BottomRight(), scene.BottomLeft(),
                                 columns, rows, &pictures.first, &pictures.first, kBackFlipHorizontal);
            tiles.Transform(plane);
            BuildPlaneParticles(tiles, velocity).Draw(scene, (t - burst) / (1.0 - burst), flags, true);
        }
    }
    scene.ClearLights();
    scene.DeletePostEffects();
    return true;
}

}  // namespace halcyra
