// Spiral and Spiral Rotation.
#include "transitions/Spirals.h"

#include <cmath>
#include <cstring>

#include "picture/MemoryAllocator.h"
#include "picture/kernels/Numerics.h"
#include "transitions/BouncingCubes.h"

namespace halcyra {
namespace {

constexpr ParameterDesc kSpiralRotationParameters[] = {
    FloatParam("Shading", 0.85f),
    FloatParam("Columns", 0.4f, 2.0f, 100.0f),
    FloatParam("Rows", 0.4f, 2.0f, 10.0f),
    FloatParam("Cohesion", 0.95f),
    FloatParam("Depth", 0.0f),
    ChoiceParam("Rotation", 0, kRotationChoices),
    BoolParam("Reverse", false),
    ChoiceParam("Background", kBackgroundFirst, kBackgroundChoices),
    ColourParam("Background Color", kDefaultBackgroundColor),
};
const EffectDescriptor kSpiralRotationDescriptor{"Corvane 3D Spiral Rotation", 2, kSpiralRotationParameters};

constexpr ParameterDesc kSpiralParameters[] = {
    FloatParam("Columns", 0.2f, 2.0f, 10.0f),
    FloatParam("Rows", 0.2f, 2.0f, 10.0f),
    FloatParam("Cohesion", 0.95f),
    FloatParam("Depth", 0.35f),
    PointParam("Spiral Center", 0.7f, 0.7f),
    ChoiceParam("Rotation", 0, kRotationChoices),
    BoolParam("Reverse", false),
    ChoiceParam("Background", kBackgroundColor, kBackgroundChoices),
    ColourParam("Background Color", kDefaultBackgroundColor),
};
const EffectDescriptor kSpiralDescriptor{"Corvane 3D Spiral", 2, kSpiralParameters};

// Tile counts beyond what the parameters' ranges can give only come from a
// misbehaving host; they are capped so that a frame stays finite.
constexpr int32_t kMaxTiles = 64;
constexpr double kSpiralAmbient = 1.0 - 0.5;

// The share of the timeline that tile i of n owns: equal windows that
// overlap by the cohesion and run from 0 to exactly 1.
struct CellWindow {
    double start;
    double length;
};
CellWindow CellWindowOf(int32_t i, int32_t n, double cohesion) {
    const double w = 1.0 / ((1.0 - cohesion) * n + cohesion);
    const double s = (1.0 - cohesion) * w;
    return {s * i, w};
}

Matrix3D SpinMatrix(int32_t rotation, double angle) {
    if (rotation == 0) return Matrix3D::Identity();
    return rotation == 1 ? Matrix3D::RotationX(angle) : Matrix3D::RotationY(angle);
}

// The chain both tiles share: about the tile's centre c a scale and a spin,
// then a whole turn about the scene's z axis over the tile's window and a
// move in depth.
void MoveCell(QuadFace& face, double u, double scale, int32_t rotation, double z) {
    const Vector3D c = face.Centre();
    Matrix3D m = Matrix3D::Translation(-c.x, -c.y, -c.z);
    m = Multiply(m, Matrix3D::Scaling(scale, scale, scale));
    m = Multiply(m, SpinMatrix(rotation, std::sin(u * M_PI)));
    m = Multiply(m, Matrix3D::Translation(c));
    m = Multiply(m, Matrix3D::RotationZ(std::sin(u * M_PI * 0.5) * M_PI * 2.0));
    m = Multiply(m, Matrix3D::Translation(0.0, 0.0, z));
    face.Transform(m);
}

}  // namespace

std::vector<int32_t> SpiralOrder(int32_t columns, int32_t rows, MemoryAllocator& allocator) {
    std::vector<int32_t> order;
    if (columns < 1 || rows < 1 || columns > (1 << 15) / rows) return order;
    const int32_t n = columns * rows;
    void* block = nullptr;
    if (!allocator.Allocate(&block, static_cast<uint32_t>(n)) || block == nullptr) return order;
    uint8_t* marked = static_cast<uint8_t*>(block);
    std::memset(marked, 0, static_cast<size_t>(n));
    order.reserve(static_cast<size_t>(n));
    marked[0] = 1;
    order.push_back(0);
    static constexpr int32_t kStep[4][2] = {{1, 0}, {0, 1}, {-1, 0}, {0, -1}};
    int32_t column = 0, row = 0, direction = 0, turns = 0;
    while (static_cast<int32_t>(order.size()) < n && turns < 4) {
        const int32_t c = column + kStep[direction][0];
        const int32_t r = row + kStep[direction][1];
        if (c < 0 || c >= columns || r < 0 || r >= rows || marked[c + r * columns] != 0) {
            direction = (direction + 1) & 3;
            ++turns;
            continue;
        }
        column = c;
        row = r;
        marked[c + r * columns] = 1;
        order.push_back(c + r * columns);
        turns = 0;
    }
    allocator.Free(block);
    return order;
}

double SpiralStretchedTime(double t, float depth) {
    const double b = 0.2f * depth;
    if (t < b) return 0.0;
    if (t > 1.0 - b) return 1.0;
    return (t - b) / (1.0 - 0.4 * static_cast<double>(depth));
}

Matrix3D SpiralRotationWorldMatrix(double t, double depth, int32_t rotation) {
    // Three tilts about a fixed centre stand ahead of the half turn in the
    // general form; with that centre their angles are all 0.
    Matrix3D m = rotation == 0 ? Matrix3D::RotationX(t * M_PI) : Matrix3D::RotationY(t * M_PI);
    return Multiply(m, Matrix3D::Translation(0.0, 0.0, depth * -10.0 * std::sin(t * M_PI)));
}

void SpiralRotationCellTransform(QuadFace& face, int32_t i, int32_t n, double t, double cohesion,
                                 int32_t rotation) {
    const CellWindow window = CellWindowOf(i, n, cohesion);
    if (window.start >= t || t >= window.start + window.length) return;
    const double u = (t - window.start) / window.length;
    MoveCell(face, u, 1.0, rotation, -std::sin(u * M_PI * 2.0));
}

void SpiralCellTransform(QuadFace& face, int32_t i, int32_t n, double t, double cohesion, int32_t rotation) {
    const CellWindow window = CellWindowOf(i, n, cohesion);
    if (window.start >= t) return;
    if (t >= window.start + window.length) {
        face.SwapPictures();
        return;
    }
    const double u = (t - window.start) / window.length;
    const double h = std::sin(u * M_PI);
    MoveCell(face, u, 1.0 - h, rotation, h * -3.0 * (1.0 - u));
    // The tile has shrunk to a point at the midpoint: the change is not seen.
    if (u > 0.5) face.SwapPictures();
}

D3DSpiralRotation::D3DSpiralRotation() : BaseEffect(kSpiralRotationDescriptor) {}
D3DSpiral::D3DSpiral() : BaseEffect(kSpiralDescriptor) {}

bool D3DSpiralRotation::RenderScene(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                                    double progress, MemoryAllocator* allocator) {
    ParameterReader read(host);
    const float shading = read.Float(0);
    const int32_t columns = ClampInt(TileCount(read.Float(1)), 0, kMaxTiles);
    const int32_t rows = ClampInt(TileCount(read.Float(2)), 0, kMaxTiles);
    const double cohesion = std::sqrt(read.Float(3));
    const float depth = read.Float(4);
    const int32_t rotation = read.Choice(5);
    const bool reverse = read.Bool(6);
    const int32_t background = read.Choice(7);
    const uint32_t backgroundColour = read.Colour(8);

    ScenePictures pictures;
    AttachScenePictures(pictures, first, second, output, reverse);

    LinearLight light;
    SetUpLitScene(scene, light, 1.0f - shading, pictures.output);
    scene.SetFlags(SceneFlagDoubleSided);

    bool result = true;
    const double t = SceneTime(progress, reverse);
    if (!ClearAtEnds(scene, pictures.first, pictures.second, t)) {
        DrawBackground(background, backgroundColour, pictures);
        // The plane's half turn about x shows the backs upside down, about y mirrored.
        const int32_t backFlip = rotation == 0 ? kBackFlipVertical : kBackFlipHorizontal;
        QuadMesh tiles =
            QuadMeshCreator().MakeTiles(pictures.output.width, pictures.output.height, scene.TopLeft(),
                                        scene.TopRight(), scene.BottomRight(), scene.BottomLeft(), columns,
                                        rows, &pictures.first, &pictures.second, backFlip, false);
        const std::vector<int32_t> order =
            allocator != nullptr ? SpiralOrder(columns, rows, *allocator) : std::vector<int32_t>{};
        if (order.empty()) {
            result = false;
        } else {
            scene.SetWorldMatrix(SpiralRotationWorldMatrix(t, depth, rotation));
            const double stretched = SpiralStretchedTime(t, depth);
            const auto n = static_cast<int32_t>(order.size());
            if (tiles.faces.size() == order.size())
                for (int32_t i = 0; i < n; ++i)
                    SpiralRotationCellTransform(tiles.faces[order[i]], i, n, stretched, cohesion, rotation);
            const uint32_t flags = SceneDrawFlags();
            for (const int32_t index : DepthSortOrder(tiles.faces))
                scene.DrawQuad(tiles.faces[index], flags, false);
        }
    }
    scene.ClearLights();
    return result;
}

bool D3DSpiral::RenderScene(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                            double progress, MemoryAllocator* allocator) {
    ParameterReader read(host);
    const int32_t columns = ClampInt(TileCount(read.Float(0)), 0, kMaxTiles);
    const int32_t rows = ClampInt(TileCount(read.Float(1)), 0, kMaxTiles);
    const double cohesion = std::sqrt(read.Float(2));
    const float depth = read.Float(3);
    float centreX, centreY;
    read.Point(4, centreX, centreY);
    const int32_t rotation = read.Choice(5);
    const bool reverse = read.Bool(6);
    const int32_t background = read.Choice(7);
    const uint32_t backgroundColour = read.Colour(8);
    // The centre's x is mirrored.
    const float cx = 1.0f - centreX;
    const float cy = centreY;

    ScenePictures pictures;
    AttachScenePictures(pictures, first, second, output, reverse);

    LinearLight light;
    SetUpLitScene(scene, light, kSpiralAmbient, pictures.output);
    scene.SetFlags(SceneFlagDoubleSided);

    bool result = true;
    const double t = SceneTime(progress, reverse);
    if (!ClearAtEnds(scene, pictures.first, pictures.second, t)) {
        DrawBackground(background, backgroundColour, pictures);
        QuadMesh tiles =
            QuadMeshCreator().MakeTiles(pictures.output.width, pictures.output.height, scene.TopLeft(),
                                        scene.TopRight(), scene.BottomRight(), scene.BottomLeft(), columns,
                                        rows, &pictures.first, &pictures.second, kBackFlipHorizontal, false);
        const std::vector<int32_t> order =
            allocator != nullptr ? SpiralOrder(columns, rows, *allocator) : std::vector<int32_t>{};
        if (order.empty()) {
            result = false;
        } else {
            // The tilt toward the spiral's centre is the bouncing cubes' own.
            scene.SetWorldMatrix(CubesWorldMatrix(t, depth, cx, cy));
            const double stretched = SpiralStretchedTime(t, depth);
            const auto n = static_cast<int32_t>(order.size());
            if (tiles.faces.size() == order.size())
                for (int32_t i = 0; i < n; ++i)
                    SpiralCellTransform(tiles.faces[order[i]], i, n, stretched, cohesion, rotation);
            const uint32_t flags = SceneDrawFlags();
            for (const int32_t index : DepthSortOrder(tiles.faces))
                scene.DrawQuad(tiles.faces[index], flags, false);
        }
    }
    scene.ClearLights();
    return result;
}

}  // namespace halcyra
