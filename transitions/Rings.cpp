// Rotating and Bouncing Frames.
#include "transitions/Rings.h"

#include <cmath>
#include <iterator>

#include "picture/MemoryAllocator.h"
#include "picture/PictureOps.h"
#include "picture/kernels/Numerics.h"

namespace halcyra {
namespace {

constexpr const char* kTurnChoices[] = {"Vertical", "Horizontal"};
constexpr const char* kBodyTurnChoices[] = {"None",           "Z-Clockwise",     "Z-Anticlockwise",
                                            "X-Clockwise",    "X-Anticlockwise", "Y-Clockwise",
                                            "Y-Anticlockwise"};
// The option text is longer than the host's 20-byte field; the parameter
// table copies it on into the next, unused field, as hosts expect.
constexpr const char* kFadeBackgroundChoices[] = {"Color", "First picture", "Second picture", "Transparent",
                                                  "Fade first frame to second"};
constexpr int32_t kBackgroundFade = 4;

constexpr ParameterDesc kTurningParameters[] = {
    FloatParam("Shading", 0.5f),
    FloatParam("Frames", 0.2f, 2.0f, 10.0f),
    FloatParam("Cohesion", 0.45f),
    FloatParam("Depth", 0.6f),
    PointParam("Tilt", 0.2f, 0.9f),
    ChoiceParam("Rotation", 0, kTurnChoices),
    BoolParam("Reverse", false),
    ChoiceParam("Background", kBackgroundColor, kBackgroundChoices),
    ColourParam("Background Color", kDefaultBackgroundColor),
};
const EffectDescriptor kTurningDescriptor{"Corvane 3D Rotating Frames", 2, kTurningParameters};

constexpr ParameterDesc kBouncingParameters[] = {
    FloatParam("Shading", 0.5f),
    FloatParam("Frames", 0.4f, 2.0f, 10.0f),
    FloatParam("Amplitude", 0.23f),
    FloatParam("Depth", 0.1f),
    PointParam("Tilt", 0.5f, 0.5f),
    FloatParam("Cohesion", 0.8f),
    ChoiceParam("Rotation", 0, kBodyTurnChoices),
    BoolParam("Reverse", false),
    ChoiceParam("Background", kBackgroundFade, kFadeBackgroundChoices),
    ColourParam("Background Color", kDefaultBackgroundColor),
};
const EffectDescriptor kBouncingDescriptor{"Corvane 3D Bouncing Frames", 2, kBouncingParameters};

// Frame counts beyond the parameter's range only come from a misbehaving
// host; capped so that a frame stays finite (63 x 63 tiles at most).
constexpr int32_t kMaxFrames = 32;
constexpr int32_t kBounces = 2;

int32_t FramesFrom(float value) {
    return ClampInt(TileCount(value), 0, kMaxFrames);
}

// Cohesion shares the time out over the frames as it does over tiles:
// frame r starts at start * r and lasts length.
struct RingWindows {
    double length;
    double start;
};

RingWindows WindowsFor(double cohesion, int32_t frames) {
    const double length = 1.0 / ((1.0 - cohesion) * frames + cohesion);
    return {length, (1.0 - cohesion) * length};
}

// The Rotation choices of Bouncing Frames after None: axis and sense.
struct BodyTurn {
    Matrix3D (*maker)(double angle);
    double sign;
};
constexpr BodyTurn kBodyTurns[] = {
    {nullptr, 0.0},
    {Matrix3D::RotationZ, 1.0},
    {Matrix3D::RotationZ, -1.0},
    {Matrix3D::RotationX, 1.0},
    {Matrix3D::RotationX, -1.0},
    {Matrix3D::RotationY, 1.0},
    {Matrix3D::RotationY, -1.0},
};

void TransformRing(std::vector<QuadFace>& faces, int32_t r, int32_t frames, const Matrix3D& m) {
    for (const int32_t index : RingCells(r, frames))
        if (static_cast<size_t>(index) < faces.size()) faces[static_cast<size_t>(index)].Transform(m);
}

void DrawSorted(Scene3D& scene, const std::vector<QuadFace>& faces, uint32_t flags) {
    for (const int32_t index : DepthSortOrder(faces))
        scene.DrawQuad(faces[static_cast<size_t>(index)], flags, false);
}

}  // namespace

std::vector<int32_t> RingCells(int32_t r, int32_t frames) {
    std::vector<int32_t> cells;
    if (r < 0 || frames < 1 || frames > kMaxFrames || r >= frames) return cells;
    const int32_t g = frames * 2 - 1;
    const int32_t e = g - 2 * r;
    const int32_t last = r + e - 1;
    for (int32_t y = r; y <= last; ++y)
        for (int32_t x = r; x <= last; ++x)
            if (y == r || y == last || x == r || x == last) cells.push_back(y * g + x);
    return cells;
}

std::vector<QuadFace> RingSystem::TurningRings(double t, double cohesion, int32_t frames, bool aboutY,
                                               bool negative) const {
    std::vector<QuadFace> faces = mesh.faces;
    if (faces.empty()) return faces;
    const RingWindows windows = WindowsFor(cohesion, frames);
    for (int32_t r = 0; r < frames; ++r) {
        const double a = windows.start * r;
        double angle;
        if (a >= t)
            angle = 0.0;
        else if (t >= a + windows.length)
            angle = M_PI;
        else
            angle = ((t - a) / windows.length) * M_PI;
        if (negative) angle = -angle;
        // Every frame turns about the one axis through the scene's origin.
        TransformRing(faces, r, frames, aboutY ? Matrix3D::RotationY(angle) : Matrix3D::RotationX(angle));
    }
    return faces;
}

std::vector<QuadFace> RingSystem::BouncingRings(double t, double cohesion, int32_t frames, double amplitude,
                                                int32_t bounces) const {
    std::vector<QuadFace> faces = mesh.faces;
    if (faces.empty()) return faces;
    const RingWindows windows = WindowsFor(cohesion, frames);
    for (int32_t r = 0; r < frames; ++r) {
        const double a = windows.start * r;
        double u;
        if (a >= t)
            u = 0.0;
        else if (t >= a + windows.length)
            u = 1.0;
        else
            u = (t - a) / windows.length;
        const double offset = -std::sin(6.283185307179586 * bounces * u) * amplitude * 2.0 * (1.0 - u * u);
        TransformRing(faces, r, frames, Matrix3D::Translation(0.0, 0.0, offset));
    }
    return faces;
}

void RingSystem::DrawTurningRings(Scene3D& scene, double t, uint32_t flags, double cohesion, int32_t frames,
                                  bool aboutY, bool negative) const {
    DrawSorted(scene, TurningRings(t, cohesion, frames, aboutY, negative), flags);
}

void RingSystem::DrawBouncingRings(Scene3D& scene, double t, uint32_t flags, double cohesion, int32_t frames,
                                   double amplitude, int32_t bounces) const {
    DrawSorted(scene, BouncingRings(t, cohesion, frames, amplitude, bounces), flags);
}

Matrix3D TurningRingsWorldMatrix(double t, double depth, double tx, double ty) {
    const double h = std::sin(t * M_PI);
    const double b = h * M_PI * 0.5 * depth;
    Matrix3D m = Matrix3D::RotationZ((tx * 2.0 - 1.0) * b * 0.10000000149011612);
    m = Multiply(m, Matrix3D::RotationX((ty * 2.0 - 1.0) * b));
    m = Multiply(m, Matrix3D::RotationY((tx * 2.0 - 1.0) * b));
    return Multiply(m, Matrix3D::Translation(0.0, 0.0, depth * -10.0 * h));
}

Matrix3D BouncingRingsWorldMatrix(double t, double depth, double tx, double ty, int32_t rotation) {
    const double h = std::sin(t * M_PI);
    const double b = h * M_PI * 0.5 * depth;
    // One whole turn by the Rotation choice; None and unknown values stand still.
    Matrix3D m = Matrix3D::Identity();
    if (rotation >= 1 && rotation < static_cast<int32_t>(std::size(kBodyTurns))) {
        const BodyTurn& turn = kBodyTurns[rotation];
        m = turn.maker(turn.sign * t * M_PI * 2.0);
    }
    m = Multiply(m, Matrix3D::RotationZ((tx * 2.0 - 1.0) * b * 0.10000000149011612));
    m = Multiply(m, Matrix3D::RotationX((ty * 2.0 - 1.0) * b));
    m = Multiply(m, Matrix3D::RotationY((tx * 2.0 - 1.0) * b));
    return Multiply(m, Matrix3D::Translation(0.0, 0.0, depth * -2.0 * h));
}

D3DRings::D3DRings() : BaseEffect(kTurningDescriptor) {}

bool D3DRings::RenderScene(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                           double progress, MemoryAllocator*) {
    ParameterReader read(host);
    const float shading = read.Float(0);
    const int32_t frames = FramesFrom(read.Float(1));
    const double cohesion = std::sqrt(read.Float(2));
    const float depth = read.Float(3);
    float tiltX, tiltY;
    read.Point(4, tiltX, tiltY);
    const int32_t rotation = read.Choice(5);
    const bool reverse = read.Bool(6);
    const int32_t background = read.Choice(7);
    const uint32_t backgroundColour = read.Colour(8);
    const float tx = 1.0f - tiltX;
    const float ty = tiltY;
    const int32_t grid = frames * 2 - 1;

    ScenePictures pictures;
    AttachScenePictures(pictures, first, second, output, reverse);

    LinearLight light;
    SetUpLitScene(scene, light, 1.0f - shading, pictures.output);
    scene.SetFlags(SceneFlagDoubleSided);

    const double t = SceneTime(progress, reverse);
    if (!ClearAtEnds(scene, pictures.first, pictures.second, t)) {
        DrawBackground(background, backgroundColour, pictures);
        // Frames turning about x show their backs upside down unless mirrored vertically.
        const int32_t flip = rotation == 0 ? kBackFlipVertical : kBackFlipHorizontal;
        const QuadMesh tiles =
            QuadMeshCreator().MakeTiles(pictures.output.width, pictures.output.height, scene.TopLeft(),
                                        scene.TopRight(), scene.BottomRight(), scene.BottomLeft(), grid, grid,
                                        &pictures.first, &pictures.second, flip, false);
        scene.SetWorldMatrix(TurningRingsWorldMatrix(t, depth, tx, ty));
        const RingSystem rings(tiles);
        rings.DrawTurningRings(scene, t, SceneDrawFlags(), cohesion, frames, rotation != 0, false);
    }
    scene.ClearLights();
    return true;
}

D3DRingsVibration::D3DRingsVibration() : BaseEffect(kBouncingDescriptor) {}

bool D3DRingsVibration::RenderScene(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                                    double progress, MemoryAllocator* allocator) {
    ParameterReader read(host);
    const float shading = read.Float(0);
    const int32_t frames = FramesFrom(read.Float(1));
    const float amplitude = read.Float(2);
    const float depth = read.Float(3);
    float tiltX, tiltY;
    read.Point(4, tiltX, tiltY);
    const double cohesion = std::sqrt(read.Float(5));
    const int32_t rotation = read.Choice(6);
    const bool reverse = read.Bool(7);
    const int32_t background = read.Choice(8);
    const uint32_t backgroundColour = read.Colour(9);
    const float tx = 1.0f - tiltX;
    const float ty = tiltY;
    const int32_t grid = frames * 2 - 1;

    ScenePictures pictures;
    AttachScenePictures(pictures, first, second, output, reverse);

    LinearLight light;
    SetUpLitScene(scene, light, 1.0f - shading, pictures.output);
    scene.SetFlags(SceneFlagDoubleSided);

    bool result = true;
    const double t = SceneTime(progress, reverse);
    if (!ClearAtEnds(scene, pictures.first, pictures.second, t)) {
        const Picture& out = pictures.output;
        Picture mixed;
        if (!mixed.Allocate(out.width, out.height, out.bytesPerPixel, allocator)) {
            result = false;
        } else {
            // Where an input is smaller the mix writes nothing; the tiles and
            // the fade background would otherwise show stale memory there.
            const Picture& a = pictures.first;
            const Picture& b = pictures.second;
            if (a.width < out.width || a.height < out.height || b.width < out.width || b.height < out.height)
                PictureOps::FillPicture(mixed, 0);
            // Quadratic in time, so the fade stays near the first picture for longer.
            PictureOps::MixPictures(a, b, mixed, static_cast<float>(1.0 - t * t), static_cast<float>(t * t));
            if (background == kBackgroundFade)
                scene.ClearToPicture(mixed, ColorRGB());
            else
                DrawBackground(background, backgroundColour, pictures);
            const QuadMesh tiles = QuadMeshCreator().MakeTiles(
                out.width, out.height, scene.TopLeft(), scene.TopRight(), scene.BottomRight(),
                scene.BottomLeft(), grid, grid, &mixed, &mixed, kBackFlipHorizontal, false);
            scene.SetWorldMatrix(BouncingRingsWorldMatrix(t, depth, tx, ty, rotation));
            const RingSystem rings(tiles);
            rings.DrawBouncingRings(scene, t, SceneDrawFlags(), cohesion, frames, amplitude, kBounces);
        }
    }
    scene.ClearLights();
    return result;
}

}  // namespace halcyra
