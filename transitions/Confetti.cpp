// Confetti and Fly Apart: leaves, their flight, and the frame both share.
#include "transitions/Confetti.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "picture/kernels/Numerics.h"

namespace halcyra {
namespace {

constexpr ParameterDesc kConfettiParameters[] = {
    FloatParam("Shading", 0.85f),
    FloatParam("Columns", 0.5f, 2.0f, 20.0f),
    FloatParam("Rows", 0.6f, 2.0f, 20.0f),
    FloatParam("Power", 0.5f),
    FloatParam("Wind direction", 0.0f, 0.0f, 360.0f),
    FloatParam("Flutter", 0.41f),
    FloatParam("Depth", 0.0f),
    PointParam("Tilt", 1.0f, 1.0f),
    BoolParam("Reverse Order", false),
    BoolParam("Reverse", false),
    BoolParam("Random rotation", false),
};
const EffectDescriptor kConfettiDescriptor{"Corvane 3D Confetti", 2, kConfettiParameters};

constexpr ParameterDesc kFlyApartParameters[] = {
    FloatParam("Shading", 0.85f),
    FloatParam("Columns", 0.8f, 2.0f, 10.0f),
    FloatParam("Rows", 0.6f, 2.0f, 10.0f),
    FloatParam("Speed", 0.5f),
    FloatParam("Latitude", 0.0f, 0.0f, 360.0f),
    FloatParam("Longitude", 0.0f, 0.0f, 360.0f),
    BoolParam("Reverse", false),
    FloatParam("Depth", 0.3f),
    PointParam("Tilt", 1.0f, 1.0f),
    FloatParam("Flutter", 0.41f),
    BoolParam("Reverse Order", false),
    BoolParam("Random rotation", false),
};
const EffectDescriptor kFlyApartDescriptor{"Corvane 3D Fly Apart", 2, kFlyApartParameters};

// Tile counts beyond what the parameters' ranges can give only come from a
// misbehaving host; they are capped so that a frame stays finite.
constexpr int32_t kMaxTiles = 64;
// The latest take-off, so that the last leaves still fly a while.
constexpr double kLastStart = 0.8999999761581421;

double Clamp01(double v) {
    if (v < 0.0) return 0.0;
    if (v > 1.0) return 1.0;
    return v;
}

int32_t LeafTileCount(float value, float span) {
    return ClampInt(TruncToInt32(value * span + 2.0f), 0, kMaxTiles);
}

// The tumble from the two mean brightnesses a and b, 0..1. Confetti swaps a
// tumble near 0 for another, so that no leaf hardly tumbles.
double TumbleFromBrightness(double a, double b, bool avoidZero) {
    double r = std::sin((a * b + a + b) * M_PI * 2.0);
    if (avoidZero && std::fabs(r) < 0.10000000149011612) r = std::cos(((a * b - a) + b) * M_PI * 2.0);
    return r;
}

// The luma sum of count pixels from p.
uint64_t LumaSum(const uint8_t* p, int64_t count) {
    // A pixel adds at most 254, so a run of this many fits a 32-bit sum,
    // which lets the loop run in vector lanes.
    constexpr int64_t kRun = int64_t{1} << 24;
    uint64_t sum = 0;
    for (int64_t from = 0; from < count; from += kRun) {
        const int64_t n = std::min(kRun, count - from);
        uint32_t runSum = 0;
        for (int64_t k = 0; k < n; ++k, p += 4) runSum += (p[2] * 76u + p[1] * 149u + p[0] * 30u) >> 8;
        sum += runSum;
    }
    return sum;
}

// A rectangle clipped to a picture, as half-open bounds.
struct ClippedRect {
    int64_t x0, y0, x1, y1;
};
ClippedRect ClipToPicture(const Picture& picture, int32_t x, int32_t y, int32_t w, int32_t h) {
    return {std::max<int64_t>(x, 0), std::max<int64_t>(y, 0),
            std::min<int64_t>(static_cast<int64_t>(x) + w, picture.width),
            std::min<int64_t>(static_cast<int64_t>(y) + h, picture.height)};
}

// Steps 3 to 7 of both builders, for a wind source W and the radius R of the
// frame's corner.
LeaveSystem BuildLeaves(const QuadMesh& mesh, const Vector3D& source, double radius, const LeafWind& wind,
                        double shrink, bool avoidZero, const Picture* first, const Picture* second) {
    LeaveSystem system;
    std::vector<QuadFace> faces = mesh.faces;
    std::vector<double> distances;
    distances.reserve(faces.size());
    for (const QuadFace& face : faces) distances.push_back((face.Centre() - source).Length());
    SortFacesByDistance(faces, distances, wind.reverseOrder);

    const auto [low, high] = std::minmax_element(distances.begin(), distances.end());
    const double dmin = *low;
    const double range = *high - dmin;
    const double n = static_cast<double>(faces.size());
    const double p = wind.power;
    // Brightness under every leaf, in one pass over each picture.
    std::vector<uint8_t> lumaFirst, lumaSecond;
    const bool tumbling = wind.randomRotation && first != nullptr && second != nullptr;
    if (tumbling) {
        std::vector<PixelRect> rects;
        rects.reserve(faces.size());
        for (const QuadFace& face : faces) rects.push_back(face.SourceRect(false));
        lumaFirst = MeanLumas(*first, rects);
        lumaSecond = MeanLumas(*second, rects);
    }
    for (size_t i = 0; i < faces.size(); ++i) {
        const QuadFace& face = faces[i];
        const Vector3D c = face.Centre();
        Vector3D away = c - source;
        away.Normalize();
        const double f = range <= 0.0 ? 0.0 : (distances[i] - dmin) / range;
        // The first leaves to go, in either order, fly the farthest.
        const double reach =
            wind.reverseOrder ? f * 0.800000011920929 + 0.20000000298023224 : 1.0 - f * 0.800000011920929;
        const Vector3D target = c + away * 2.0 * radius * reach * p;
        const double spin = ((1.0 - f) + 0.10000000149011612) * 2.0 * M_PI * wind.flutter;
        // The sine of the index, in radians, staggers neighbours in time.
        double q = f * kLastStart + std::sin(static_cast<double>(i)) / n;
        q = std::clamp(q, 0.0, kLastStart);
        const double start = wind.reverseOrder ? kLastStart - q : q;
        const double turn =
            tumbling ? TumbleFromBrightness(lumaFirst[i] / 255.0, lumaSecond[i] / 255.0, avoidZero) : 0.0;
        system.AddLeaf(Leave3D(face, target, spin, shrink, start, 1.0, 0.0, turn));
    }
    return system;
}

// The corner of the frame as the mesh holds it: sqrt 2 for a half width of 1.
double CornerRadius(const Vector3D& corner) {
    return std::sqrt(corner.x * corner.x + corner.y * corner.y);
}

// The parameters of both transitions, read.
struct LeafSettings {
    float shading;
    int32_t columns;
    int32_t rows;
    float power;
    float theta;
    float phi;
    float depth;
    float tiltX;
    float tiltY;
    float flutter;
    bool reverseOrder;
    bool reverse;
    bool randomRotation;
};

// The frame both transitions share, from the light on.
void DrawLeafFrame(Scene3D& scene, Picture& first, Picture& second, Picture& output, const LeafSettings& s,
                   double progress, bool flyApart) {
    LinearLight light;
    SetUpLitScene(scene, light, 1.0f - s.shading, output);
    scene.SetFlags(SceneFlagDoubleSided);

    const double t = SceneTime(progress, s.reverse);
    if (!ClearAtEnds(scene, first, second, t)) {
        scene.ClearToPicture(second, ColorRGB());
        QuadMesh tiles = QuadMeshCreator().MakeTiles(
            output.width, output.height, scene.TopLeft(), scene.TopRight(), scene.BottomRight(),
            scene.BottomLeft(), s.columns, s.rows, &first, &first, kBackFlipHorizontal, false);
        // The back of a leaf carries the same piece of the picture as its front.
        tiles.MirrorBackRects(true);
        scene.SetWorldMatrix(LeafWorldMatrix(t, s.depth, s.tiltX, s.tiltY));
        const LeafWind wind{s.power, s.flutter, s.reverseOrder, s.randomRotation};
        LeaveSystem leaves;
        if (flyApart) {
            leaves = BuildFlyApartLeaves(tiles, s.theta, s.phi, wind, &first, &second);
            leaves.SetClipDepth(3.0 * CornerRadius(scene.TopLeft()));
        } else {
            leaves = BuildConfettiLeaves(tiles, s.theta, wind, &first, &second);
        }
        leaves.DrawLeaves(scene, t, BaseEffect::SceneDrawFlags());
    }
    scene.ClearLights();
    scene.DeletePostEffects();
}

}  // namespace

Leave3D::Leave3D(const QuadFace& face, const Vector3D& target, double spin, double shrink, double start,
                 double end, double cutOff, double tumble)
    : face(face),
      target(target),
      spin(spin),
      shrink(shrink),
      start(Clamp01(start)),
      end(Clamp01(end)),
      cutOff(cutOff),
      tumble(tumble) {}

Matrix3D Leave3D::LeafMatrix(double time) const {
    const double tau = Clamp01(time);
    const Vector3D c = face.Centre();
    if (tau < start || tau >= end || (cutOff > 0.0 && tau >= cutOff)) return Matrix3D::Identity();
    const double u = (tau - start) / (end - start);
    const Vector3D flight = target - c;
    const double sigma = flight.x < 0.0 ? -1.0 : 1.0;
    const double k = 1.0 - shrink * u;
    Matrix3D m = Matrix3D::Translation(-c.x, -c.y, -c.z);
    m = Multiply(m, Matrix3D::Scaling(k, k, k));
    m = Multiply(m, LeafRotation(u * spin * sigma));
    m = Multiply(m, Matrix3D::Translation(c));
    return Multiply(m, Matrix3D::Translation(flight * u));
}

QuadFace Leave3D::LeafFace(double time) const {
    QuadFace moved = face;
    moved.Transform(LeafMatrix(time));
    return moved;
}

Matrix3D Leave3D::LeafRotation(double angle) const {
    // The option is not what counts: a tumble of exactly 0 turns plainly.
    if (tumble == 0.0) {
        Vector3D e = target - face.Centre();
        e.Normalize();
        double alpha = std::acos(e.x);
        if (e.y >= 0.0) alpha = -alpha;
        Matrix3D m = Matrix3D::RotationZ(-alpha);
        m = Multiply(m, Matrix3D::RotationY(angle));
        return Multiply(m, Matrix3D::RotationZ(alpha));
    }
    const double r = tumble;
    const Matrix3D m = Matrix3D::RotationY(angle * r);
    return Multiply(m, Matrix3D::RotationX(0.0 - angle * r * (0.5 - r) * 0.5));
}

void LeaveSystem::DrawLeaves(Scene3D& scene, double time, uint32_t warpFlags) const {
    std::vector<QuadFace> faces;
    faces.reserve(leaves.size());
    for (const Leave3D& leaf : leaves)
        if (leaf.IsLeafAlive(time)) faces.push_back(leaf.LeafFace(time));
    for (const int32_t index : DepthSortOrder(faces)) {
        const QuadFace& face = faces[static_cast<size_t>(index)];
        if (clipDepth != 0.0) {
            const double z = face.Centre().z;
            if (!(z > -clipDepth && z < clipDepth)) continue;
        }
        scene.DrawQuad(face, warpFlags, false);
    }
}

uint8_t MeanLuma(const Picture& picture, int32_t x, int32_t y, int32_t w, int32_t h) {
    if (picture.data == nullptr || picture.bytesPerPixel != 4 || w <= 0 || h <= 0) return 0;
    const ClippedRect r = ClipToPicture(picture, x, y, w, h);
    uint64_t sum = 0;
    for (int64_t row = r.y0; row < r.y1; ++row)
        sum += LumaSum(picture.Row(static_cast<int32_t>(row)) + r.x0 * 4, r.x1 - r.x0);
    return static_cast<uint8_t>(sum / static_cast<uint64_t>(static_cast<int64_t>(w) * h));
}

std::vector<uint8_t> MeanLumas(const Picture& picture, const std::vector<PixelRect>& rects) {
    std::vector<uint8_t> means(rects.size(), 0);
    if (picture.data == nullptr || picture.bytesPerPixel != 4) return means;
    std::vector<ClippedRect> clipped;
    std::vector<uint64_t> sums(rects.size(), 0);
    int64_t top = INT64_MAX, bottom = 0;
    for (const PixelRect& r : rects) {
        const bool empty = r.width <= 0 || r.height <= 0;
        clipped.push_back(empty ? ClippedRect{0, 0, 0, 0}
                                : ClipToPicture(picture, r.x, r.y, r.width, r.height));
        if (clipped.back().x0 < clipped.back().x1 && clipped.back().y0 < clipped.back().y1) {
            top = std::min(top, clipped.back().y0);
            bottom = std::max(bottom, clipped.back().y1);
        }
    }
    // Row by row, so that the pictures are read in their own order.
    for (int64_t row = top; row < bottom; ++row) {
        const uint8_t* line = picture.Row(static_cast<int32_t>(row));
        for (size_t k = 0; k < clipped.size(); ++k) {
            const ClippedRect& c = clipped[k];
            if (row >= c.y0 && row < c.y1 && c.x0 < c.x1) sums[k] += LumaSum(line + c.x0 * 4, c.x1 - c.x0);
        }
    }
    for (size_t k = 0; k < rects.size(); ++k)
        if (rects[k].width > 0 && rects[k].height > 0)
            means[k] = static_cast<uint8_t>(
                sums[k] / static_cast<uint64_t>(static_cast<int64_t>(rects[k].width) * rects[k].height));
    return means;
}

double FlyApartTumble(const QuadFace& face, const Picture* first, const Picture* second) {
    if (first == nullptr || second == nullptr) return 0.0;
    const PixelRect r = face.SourceRect(false);
    return TumbleFromBrightness(MeanLuma(*first, r.x, r.y, r.width, r.height) / 255.0,
                                MeanLuma(*second, r.x, r.y, r.width, r.height) / 255.0, false);
}

double ConfettiTumble(const QuadFace& face, const Picture* first, const Picture* second) {
    if (first == nullptr || second == nullptr) return 0.0;
    const PixelRect r = face.SourceRect(false);
    return TumbleFromBrightness(MeanLuma(*first, r.x, r.y, r.width, r.height) / 255.0,
                                MeanLuma(*second, r.x, r.y, r.width, r.height) / 255.0, true);
}

void SortFacesByDistance(std::vector<QuadFace>& faces, std::vector<double>& distances, bool descending) {
    const size_t n = faces.size();
    if (n < 2 || distances.size() != n) return;
    for (size_t limit = n - 1; limit > 0; --limit) {
        bool swapped = false;
        for (size_t j = 0; j < limit; ++j) {
            const bool out = descending ? distances[j] < distances[j + 1] : distances[j] > distances[j + 1];
            if (out) {
                std::swap(distances[j], distances[j + 1]);
                std::swap(faces[j], faces[j + 1]);
                swapped = true;
            }
        }
        if (!swapped) break;
    }
}

LeaveSystem BuildConfettiLeaves(const QuadMesh& mesh, double theta, const LeafWind& wind,
                                const Picture* first, const Picture* second) {
    if (mesh.faces.empty() || mesh.faces[0].corners.empty()) return {};
    const double radius = CornerRadius(mesh.faces[0].corners[0]);
    const Vector3D source(std::cos(theta) * radius, std::sin(theta) * radius, -0.10000000149011612);
    return BuildLeaves(mesh, source, radius, wind, 0.0, true, first, second);
}

LeaveSystem BuildFlyApartLeaves(const QuadMesh& mesh, double theta, double phi, const LeafWind& wind,
                                const Picture* first, const Picture* second) {
    if (mesh.faces.empty() || mesh.faces[0].corners.empty()) return {};
    const double radius = CornerRadius(mesh.faces[0].corners[0]);
    const Matrix3D turn = Multiply(Matrix3D::RotationY(theta), Matrix3D::RotationX(phi));
    const Vector3D source = TransformPoint(turn, Vector3D(0.0, 0.0, radius));
    return BuildLeaves(mesh, source, radius, wind, 1.0, false, first, second);
}

Matrix3D LeafWorldMatrix(double t, double depth, double tx, double ty) {
    const double s = std::sin(t * M_PI);
    const double a = s * M_PI * 0.33000001311302185 * depth * 0.5;
    Matrix3D m = Matrix3D::RotationZ((tx * 2.0 - 1.0) * a * 0.20000000298023224);
    m = Multiply(m, Matrix3D::RotationX((ty * 2.0 - 1.0) * a));
    m = Multiply(m, Matrix3D::RotationY((tx * 2.0 - 1.0) * a));
    return Multiply(m, Matrix3D::Translation(0.0, 0.0, depth * -5.0 * s));
}

D3DBlowingLeaves::D3DBlowingLeaves() : BaseEffect(kConfettiDescriptor) {}

bool D3DBlowingLeaves::RenderScene(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                                   double progress, MemoryAllocator*) {
    ParameterReader read(host);
    LeafSettings s{};
    s.shading = read.Float(0);
    s.columns = LeafTileCount(read.Float(1), 18.0f);
    s.rows = LeafTileCount(read.Float(2), 18.0f);
    s.power = read.Float(3) * 2.0f + 1.0f;
    s.theta = read.Float(4) * static_cast<float>(M_PI) * 2.0f;
    s.flutter = read.Float(5) * 10.0f;
    s.depth = read.Float(6);
    float x, y;
    read.Point(7, x, y);
    s.tiltX = 1.0f - x;
    s.tiltY = y;
    s.reverseOrder = read.Bool(8);
    s.reverse = read.Bool(9);
    s.randomRotation = read.Bool(10);

    ScenePictures pictures;
    AttachScenePictures(pictures, first, second, output, s.reverse);
    DrawLeafFrame(scene, pictures.first, pictures.second, pictures.output, s, progress, false);
    return true;
}

D3DLeafBlower::D3DLeafBlower() : BaseEffect(kFlyApartDescriptor) {}

bool D3DLeafBlower::RenderScene(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                                double progress, MemoryAllocator*) {
    ParameterReader read(host);
    LeafSettings s{};
    s.shading = read.Float(0);
    s.columns = LeafTileCount(read.Float(1), 8.0f);
    s.rows = LeafTileCount(read.Float(2), 8.0f);
    s.power = read.Float(3) * 2.0f + 1.0f;
    s.theta = read.Float(4) * static_cast<float>(M_PI) * 2.0f;
    s.phi = read.Float(5) * static_cast<float>(M_PI) * 2.0f;
    s.reverse = read.Bool(6);
    s.depth = read.Float(7);
    float x, y;
    read.Point(8, x, y);
    s.tiltX = 1.0f - x;
    s.tiltY = y;
    s.flutter = read.Float(9) * 10.0f;
    s.reverseOrder = read.Bool(10);
    s.randomRotation = read.Bool(11);

    ScenePictures pictures;
    AttachScenePictures(pictures, first, second, output, s.reverse);
    DrawLeafFrame(scene, pictures.first, pictures.second, pictures.output, s, progress, true);
    return true;
}

}  // namespace halcyra
