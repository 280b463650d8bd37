// Twist.
#include "transitions/Twist.h"

#include <cmath>
#include <new>

#include "picture/kernels/Numerics.h"
#include "transitions/DreamGlow.h"

namespace halcyra {
namespace {

constexpr const char* kOrientationChoices[] = {"Horizontal", "Vertical"};

constexpr ParameterDesc kTwistParameters[] = {
    FloatParam("Shading", 0.0f),
    FloatParam("Slices", 0.6f, 2.0f, 20.0f),
    FloatParam("Cohesion", 0.85f),
    FloatParam("Depth", 0.25f),
    FloatParam("Glow", 0.0f),
    ChoiceParam("Orientation", 0, kOrientationChoices),
    BoolParam("Rotate", true),
    BoolParam("Flip", false),
    BoolParam("Reverse", false),
    ChoiceParam("Background", kBackgroundFirst, kBackgroundChoices),
    ColourParam("Background Color", kDefaultBackgroundColor),
};
const EffectDescriptor kTwistDescriptor{"Corvane 3D Twist", 2, kTwistParameters};

constexpr int32_t kReverseIndex = 8;
// Slice counts beyond what the parameter's range can give only come from a
// misbehaving host; they are capped so that a frame stays finite.
constexpr int32_t kMaxSlices = 256;
// The glow's colour fades from white to white: it is always white.
constexpr uint32_t kGlowColour = 0xFFFFFF;

}  // namespace

D3DTwist::D3DTwist() : BaseEffect(kTwistDescriptor) {}

bool D3DTwist::Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                      RenderInfo* info) {
    // Reverse is looked at here as well; the swap itself happens in
    // RenderScene, so the inputs go on as they arrived.
    ParameterReader(host).Bool(kReverseIndex);
    return BaseEffect::Render(host, first, second, output, info);
}

double TwistSliceAngle(int32_t i, int32_t n, double t, double cohesion) {
    const double w = 1.0 / ((1.0 - cohesion) * n + cohesion);
    const double a = (1.0 - cohesion) * w * i;
    if (a >= t) return 0.0;
    if (t >= a + w) return M_PI;
    return ((t - a) / w) * M_PI;
}

Matrix3D TwistWorldMatrix(double t, bool rotate, bool flip, double depth) {
    Matrix3D m = Matrix3D::Identity();
    if (rotate) m = Multiply(m, Matrix3D::RotationZ(t * M_PI));
    if (flip) m = Multiply(m, Matrix3D::RotationX(t * M_PI * 2.0));
    if (depth > 0.0) m = Multiply(m, Matrix3D::Translation(0.0, 0.0, -std::sin(t * M_PI) * 5.0 * depth));
    return m;
}

std::vector<QuadFace> TwistSystem::TurnedFaces(double t, double cohesion, bool aboutY, bool negative) const {
    std::vector<QuadFace> faces = mesh.GetFaces();
    const auto n = static_cast<int32_t>(faces.size());
    for (int32_t i = 0; i < n; ++i) {
        double angle = TwistSliceAngle(i, n, t, cohesion);
        if (negative) angle = -angle;
        const Vector3D c = faces[i].Centre();
        Matrix3D m = Matrix3D::Translation(-c.x, -c.y, -c.z);
        m = Multiply(m, aboutY ? Matrix3D::RotationY(angle) : Matrix3D::RotationX(angle));
        m = Multiply(m, Matrix3D::Translation(c));
        faces[i].Transform(m);
    }
    return faces;
}

void TwistSystem::DrawSlices(Scene3D& scene, double t, uint32_t flags, double cohesion, bool aboutY,
                             bool negative) const {
    const std::vector<QuadFace> faces = TurnedFaces(t, cohesion, aboutY, negative);
    for (const int32_t index : DepthSortOrder(faces)) scene.DrawQuad(faces[index], flags, false);
}

bool D3DTwist::RenderScene(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                           double progress, MemoryAllocator* allocator) {
    ParameterReader read(host);
    const float shading = read.Float(0);
    const int32_t slices = ClampInt(TruncToInt32(read.Float(1) * 18.0f + 2.0f), 0, kMaxSlices);
    const double cohesion = std::sqrt(read.Float(2));
    const double depth = read.Float(3);
    const float glowValue = read.Float(4);
    const float glow = 1.0f - (1.0f - glowValue) * (1.0f - glowValue);
    const int32_t orientation = read.Choice(5);
    const bool rotate = read.Bool(6);
    const bool flip = read.Bool(7);
    const bool reverse = read.Bool(8);
    const int32_t background = read.Choice(9);
    const uint32_t backgroundColour = read.Colour(10);

    ScenePictures pictures;
    AttachScenePictures(pictures, first, second, output, reverse);

    LinearLight light;
    SetUpLitScene(scene, light, 1.0f - shading, pictures.output);
    scene.SetFlags(SceneFlagDoubleSided);

    const double t = SceneTime(progress, reverse);
    // t = 0 is a frame of the motion here.
    if (!ClearAtEnds(scene, pictures.first, pictures.second, t, true)) {
        DrawBackground(background, backgroundColour, pictures);
        const bool horizontal = orientation == 0;
        const int32_t columns = horizontal ? 1 : slices;
        const int32_t rows = horizontal ? slices : 1;
        // The slice's own half turn and the body's together decide which way
        // the back must be mirrored to end upright.
        const bool vertical = orientation == 1;
        const int32_t backFlip = rotate != vertical ? kBackFlipVertical : kBackFlipHorizontal;
        const QuadMesh tiles =
            QuadMeshCreator().MakeTiles(pictures.output.width, pictures.output.height, scene.TopLeft(),
                                        scene.TopRight(), scene.BottomRight(), scene.BottomLeft(), columns,
                                        rows, &pictures.first, &pictures.second, backFlip, true);
        scene.SetWorldMatrix(TwistWorldMatrix(t, rotate, flip, depth));

        const double h = std::sin(t * M_PI);
        const auto g = static_cast<float>(h * static_cast<double>(glow));
        // Added even at no glow, where it leaves the faces as they are; an
        // effect that could not be had is a null entry the drawing skips.
        scene.AddPostEffect(new (std::nothrow) PRDreamGlowEffect(kGlowColour, g, g, allocator));

        TwistSystem(tiles).DrawSlices(scene, t, SceneDrawFlags(), cohesion, horizontal, false);
    }
    scene.ClearLights();
    scene.DeletePostEffects();
    return true;
}

}  // namespace halcyra
