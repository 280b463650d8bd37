// Bouncing Cubes.
#include "transitions/BouncingCubes.h"

#include <cmath>

#include "picture/kernels/Numerics.h"

namespace halcyra {
namespace {

constexpr ParameterDesc kCubesParameters[] = {
    FloatParam("Shading", 0.85f),
    FloatParam("Columns", 0.2f, 2.0f, 10.0f),
    FloatParam("Rows", 0.2f, 2.0f, 10.0f),
    FloatParam("Cohesion", 0.95f),
    FloatParam("Depth", 0.35f),
    BoolParam("Zigzag", false),
    ChoiceParam("Rotation", 0, kRotationChoices),
    BoolParam("Reverse", false),
    ChoiceParam("Background", kBackgroundTransparent, kBackgroundChoices),
    ColourParam("Background Color", kDefaultBackgroundColor),
};
const EffectDescriptor kCubesDescriptor{"Corvane 3D Bouncing Cubes", 2, kCubesParameters};

// Tile counts beyond what the parameter's range can give only come from a
// misbehaving host; they are capped so that a frame stays finite.
constexpr int32_t kMaxTiles = 64;

// The tilt is no parameter here: both components are 0.7 in single precision.
constexpr double kTilt = static_cast<double>(0.7f);

}  // namespace

D3DMNCubesFly::D3DMNCubesFly() : BaseEffect(kCubesDescriptor) {}

Matrix3D CubesWorldMatrix(double t, double depth, double tx, double ty) {
    const double s = std::sin(t * M_PI);
    const double a = s * M_PI * 0.6000000238418579 * depth;
    Matrix3D m = Matrix3D::RotationZ((tx * 2.0 - 1.0) * a * 0.20000000298023224);
    m = Multiply(m, Matrix3D::RotationX((ty * 2.0 - 1.0) * a));
    m = Multiply(m, Matrix3D::RotationY((tx * 2.0 - 1.0) * a));
    return Multiply(m, Matrix3D::Translation(0.0, 0.0, -10.0 * depth * s));
}

double CubesStretchedTime(double t, float depth) {
    const float a = 0.2f * depth;
    if (t < static_cast<double>(a)) return 0.0;
    if (t > static_cast<double>(1.0f - a)) return 1.0;
    return (t - static_cast<double>(a)) / static_cast<double>(1.0f - 0.4f * depth);
}

void CubeMotion(QuadMesh& box, int32_t n, int32_t i, double t, double cohesion, int32_t rotation) {
    const double d = 1.0 / ((1.0 - cohesion) * n + cohesion);
    const double start = (1.0 - cohesion) * d * i;
    if (t <= start) return;
    if (t >= start + d) {
        box.SwapPictures();
        return;
    }
    const double p = (t - start) / d;
    const double w = std::sin(p * M_PI * 4.0);
    Matrix3D spin = Matrix3D::Identity();
    if (rotation != 0 && p < 0.5) spin = rotation == 1 ? Matrix3D::RotationX(w) : Matrix3D::RotationY(w);
    const double k = p < 0.25 ? w : 0.0;
    const Vector3D g = box.Centre();
    Matrix3D m = Matrix3D::Translation(-g.x, -g.y, -g.z);
    m = Multiply(m, Matrix3D::Scaling(1.0 - k, 1.0 - k, 1.0 - k));
    m = Multiply(m, spin);
    m = Multiply(m, Matrix3D::Translation(g));
    m = Multiply(m, Matrix3D::Translation(0.0, 0.0, std::sin(p * 4.0 * M_PI) * -3.0 * (1.0 - p)));
    box.Transform(m);
    // The box changes picture at the moment it has shrunk to nothing.
    if (p > 0.125) box.SwapPictures();
}

bool D3DMNCubesFly::RenderScene(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                                double progress, MemoryAllocator*) {
    ParameterReader read(host);
    const float shading = read.Float(0);
    const int32_t columns = ClampInt(TileCount(read.Float(1)), 0, kMaxTiles);
    const int32_t rows = ClampInt(TileCount(read.Float(2)), 0, kMaxTiles);
    const double cohesion = std::sqrt(read.Float(3));
    const int32_t rotation = read.Choice(6);
    const bool reverse = read.Bool(7);
    const uint32_t backgroundColour = read.Colour(9);
    const int32_t background = read.Choice(8);
    const float depth = read.Float(4);
    const bool zigzag = read.Bool(5);

    ScenePictures pictures;
    AttachScenePictures(pictures, first, second, output, reverse);

    LinearLight light;
    SetUpLitScene(scene, light, 1.0f - shading, pictures.output);

    const double t = SceneTime(progress, reverse);
    if (!ClearAtEnds(scene, pictures.first, pictures.second, t)) {
        DrawBackground(background, backgroundColour, pictures);
        QuadMeshCreator creator;
        const QuadMesh tiles =
            creator.MakeTiles(pictures.output.width, pictures.output.height, scene.TopLeft(),
                              scene.TopRight(), scene.BottomRight(), scene.BottomLeft(), columns, rows,
                              &pictures.first, &pictures.second, kBackFlipHorizontal, zigzag);
        std::vector<QuadMesh> boxes = creator.MakeBoxes(tiles);
        const auto n = static_cast<int32_t>(boxes.size());

        scene.SetWorldMatrix(CubesWorldMatrix(t, depth, kTilt, kTilt));

        const double stretched = CubesStretchedTime(t, depth);

        std::vector<QuadFace> faces;
        faces.reserve(static_cast<size_t>(n) * 6);
        for (int32_t i = 0; i < n; ++i) {
            CubeMotion(boxes[i], n, i, stretched, cohesion, rotation);
            faces.insert(faces.end(), boxes[i].faces.begin(), boxes[i].faces.end());
        }
        const uint32_t flags = SceneDrawFlags();
        for (const int32_t index : DepthSortOrder(faces)) scene.DrawQuad(faces[index], flags, false);
    }
    scene.ClearLights();
    return true;
}

}  // namespace halcyra
