// The renderer: projection, snapping, depth order, clearing, culling, the
// off-frame test, shading through alpha, and the face warp with its edge pass.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "picture/MemoryAllocator.h"
#include "picture/PictureOps.h"
#include "scene/Scene3D.h"
#include "scene/detail/FaceWarp.h"

namespace halcyra {
namespace {

// A picture over memory the test owns.
struct Frame {
    Frame(int32_t w, int32_t h, uint8_t fill = 0) : bytes(static_cast<size_t>(w) * h * 4, fill) {
        picture.Attach(bytes.data(), w, h, w * 4, 4);
    }
    uint8_t* Px(int32_t x, int32_t y) {
        return bytes.data() + (static_cast<size_t>(y) * picture.width + x) * 4;
    }
    void Pattern(uint32_t seed) {
        std::mt19937 random(seed);
        for (auto& b : bytes) b = static_cast<uint8_t>(random());
    }
    void Uniform(uint8_t b, uint8_t g, uint8_t r, uint8_t a) {
        for (size_t i = 0; i < bytes.size(); i += 4) {
            bytes[i] = b;
            bytes[i + 1] = g;
            bytes[i + 2] = r;
            bytes[i + 3] = a;
        }
    }
    std::vector<uint8_t> bytes;
    Picture picture;
};

constexpr uint32_t kSmoothBilinear = 0x80000002u;

struct SceneFixture : ::testing::Test {
    SceneFixture() : target(40, 30, 0x11), source(40, 30) {
        source.Pattern(7);
        scene.SetAllocator(&allocator);
        scene.SetTarget(target.picture);
        scene.SetProjectionMatrix(Matrix3D::Perspective(6.0));
    }
    QuadFace FullFace() {
        return QuadFace(scene.TopLeft(), scene.TopRight(), scene.BottomRight(), scene.BottomLeft(),
                        &source.picture, nullptr, kBackFlipHorizontal);
    }
    MemoryAllocator allocator;
    Frame target;
    Frame source;
    Scene3D scene;
};

TEST(SnapToPixel, PullsNearWholeNumbersOntoThem) {
    EXPECT_EQ(SnapToPixel(2.999999), 3.0);
    EXPECT_EQ(SnapToPixel(3.000001), 3.0);
    EXPECT_EQ(SnapToPixel(3.25), 3.25);
    EXPECT_EQ(SnapToPixel(0.000001), 0.0);
    EXPECT_EQ(SnapToPixel(-0.000001), 0.0);
    EXPECT_EQ(SnapToPixel(-2.000001), -2.000001);  // below zero only -e..0 is pulled
    EXPECT_EQ(SnapToPixel(1e12), 1e12);
}

TEST(DepthSortOrder, FarToNearAndStableOnTies) {
    std::vector<QuadFace> faces(5);
    const double z[] = {0.0, -2.0, 0.0, -2.0, 1.0};
    for (size_t i = 0; i < 5; ++i)
        faces[i].SetCorners({0, 0, z[i]}, {0, 0, z[i]}, {0, 0, z[i]}, {0, 0, z[i]});
    EXPECT_EQ(DepthSortOrder(faces), (std::vector<int32_t>{1, 3, 0, 2, 4}));
    EXPECT_EQ(DepthSortOrder(std::vector<QuadFace>(3)), (std::vector<int32_t>{0, 1, 2}));
    EXPECT_TRUE(DepthSortOrder({}).empty());
}

TEST_F(SceneFixture, ProjectPutsTheWorldSquareOnPixelCentres) {
    const PixelPosition tl = scene.Project(scene.TopLeft());
    const PixelPosition br = scene.Project(scene.BottomRight());
    EXPECT_EQ(tl.x, 0.0);
    EXPECT_EQ(tl.y, 0.0);
    EXPECT_EQ(br.x, 39.0);
    EXPECT_EQ(br.y, 29.0);
    EXPECT_EQ(scene.Project({0, 0, 0}).x, 19.5);
    Scene3D empty;
    EXPECT_EQ(empty.Project({1, 1, 0}).x, 0.0);
    EXPECT_EQ(empty.TopLeft(), Vector3D());
    EXPECT_EQ(empty.ViewHalfWidth(), 1.0);
}

TEST_F(SceneFixture, AFaceFillingTheFrameReproducesItsPicture) {
    LinearLight light;
    scene.AddLight(&light);
    EXPECT_TRUE(scene.DrawQuad(FullFace(), kSmoothBilinear, false));
    EXPECT_EQ(target.bytes, source.bytes);
}

TEST_F(SceneFixture, EdgeOnAndBackFacingFacesVanish) {
    const std::vector<uint8_t> before = target.bytes;
    QuadFace face = FullFace();
    face.SetCorners({0, 1, -1}, {0, 1, 1}, {0, -1, 1}, {0, -1, -1});  // exactly edge-on
    // n.z = 0 counts as front-facing, so the face is dealt with; its
    // quadrangle is a line and the warp refuses it.
    EXPECT_TRUE(scene.DrawQuad(face, kSmoothBilinear, false));
    EXPECT_EQ(target.bytes, before);

    QuadFace turned = FullFace();
    turned.SetCorners(scene.TopRight(), scene.TopLeft(), scene.BottomLeft(), scene.BottomRight());
    EXPECT_FALSE(scene.DrawQuad(turned, kSmoothBilinear, false));
    EXPECT_FALSE(scene.DrawQuad(turned, kSmoothBilinear, true));
    EXPECT_EQ(target.bytes, before);
    // A pass for backs draws nothing in a one-sided scene.
    EXPECT_FALSE(scene.DrawQuad(FullFace(), kSmoothBilinear, true));
}

TEST_F(SceneFixture, DoubleSidedDrawsTheBackMirrored) {
    Frame back(40, 30);
    back.Pattern(9);
    scene.SetFlags(SceneFlagDoubleSided);
    QuadFace face = FullFace();
    face.SetBackPicture(&back.picture);
    face.SetCorners(scene.TopRight(), scene.TopLeft(), scene.BottomLeft(), scene.BottomRight());
    EXPECT_TRUE(scene.DrawQuad(face, kSmoothBilinear, true));
    // Flip 0 puts the back picture the right way round after a turn about y.
    EXPECT_EQ(target.bytes, back.bytes);
}

TEST_F(SceneFixture, FacesBeyondOneSideAreSkipped) {
    const std::vector<uint8_t> before = target.bytes;
    QuadFace left = FullFace();
    left.SetCorners({-5, 1, 0}, {-3, 1, 0}, {-3, -1, 0}, {-5, -1, 0});
    EXPECT_TRUE(scene.DrawQuad(left, kSmoothBilinear, false));
    EXPECT_EQ(target.bytes, before);
    // Two corners beyond the left and two beyond the right: drawn.
    QuadFace wide = FullFace();
    wide.SetCorners({-3, 0.5, 0}, {3, 0.5, 0}, {3, -0.5, 0}, {-3, -0.5, 0});
    EXPECT_TRUE(scene.DrawQuad(wide, kSmoothBilinear, false));
    EXPECT_NE(target.bytes, before);
}

TEST_F(SceneFixture, NarrowSourcesAndMissingInterpolationDrawNothing) {
    const std::vector<uint8_t> before = target.bytes;
    QuadFace thin = FullFace();
    thin.frontRect = {0.5, 0, 0.5, 1};  // one pixel wide
    EXPECT_TRUE(scene.DrawQuad(thin, kSmoothBilinear, false));
    EXPECT_TRUE(scene.DrawQuad(FullFace(), 0x80000000u, false));
    EXPECT_EQ(target.bytes, before);
    QuadFace invalid = FullFace();
    invalid.SetFrontPicture(nullptr);
    EXPECT_FALSE(scene.DrawQuad(invalid, kSmoothBilinear, false));
}

TEST_F(SceneFixture, ShadingLowersAlphaWithTheColours) {
    source.Uniform(200, 100, 50, 255);
    LinearLight light;  // ambient 0: brightness is the normal's z
    scene.AddLight(&light);
    QuadFace face = FullFace();
    face.SetCorners({-0.25, 0.5, -0.433}, {0.25, 0.5, 0.433}, {0.25, -0.5, 0.433}, {-0.25, -0.5, -0.433});
    scene.SetProjectionMatrix(Matrix3D::Identity());  // keeps the normal's z at cos 60
    EXPECT_TRUE(scene.DrawQuad(face, kSmoothBilinear, false));
    const std::vector<Vector3D> c = face.TransformedCorners(Matrix3D::Identity());
    const double b = TriangleNormal(c[0], c[3], c[1]).z;
    const uint32_t k = static_cast<uint32_t>(b * 255.0);
    const uint32_t a = (255 * k) >> 8;
    const uint8_t* p = target.Px(20, 15);
    EXPECT_EQ(p[3], a);
    EXPECT_EQ(p[0], (200 * a) >> 8);
    EXPECT_EQ(p[1], (100 * a) >> 8);
    EXPECT_EQ(p[2], (50 * a) >> 8);
}

// Shading is prepared only where the warp samples, and reused between faces
// of one mesh; the picture must be the one a whole preparation gives.
TEST_F(SceneFixture, PartlyPreparedShadingMatchesAWholePreparation) {
    Frame big(300, 200);
    big.Pattern(21);
    Frame out(300, 200, 0x33), expected(300, 200, 0x33);
    LinearLight light;
    light.SetAmbient(0.3);
    Scene3D s;
    s.SetAllocator(&allocator);
    s.SetTarget(out.picture);
    s.AddLight(&light);
    s.SetProjectionMatrix(Matrix3D::Perspective(6.0));
    s.SetWorldMatrix(Multiply(Matrix3D::RotationY(0.6), Matrix3D::Translation(-0.9, 0.2, -0.5)));
    QuadFace face(s.TopLeft(), s.TopRight(), s.BottomRight(), s.BottomLeft(), &big.picture, nullptr, 0);
    face.frontRect = {0.1, 0.0, 0.9, 0.8};
    EXPECT_TRUE(s.DrawQuad(face, kSmoothBilinear, false));

    const std::vector<Vector3D> c = face.TransformedCorners(s.GetCombinedMatrix());
    const double b = s.LightFactor(TriangleNormal(c[0], c[3], c[1]), {}, false);
    ASSERT_LT(b, 1.0);
    double q[8];
    for (int i = 0; i < 4; ++i) {
        const PixelPosition p = s.Project(c[i]);
        q[2 * i] = SnapToPixel(p.x);
        q[2 * i + 1] = SnapToPixel(p.y);
    }
    const PixelRect r = face.SourceRect(false);
    Picture cut;
    cut.Attach(big.picture.PixelAddress(r.x, r.y), r.width, r.height, big.picture.pitch, 4);
    Frame work(r.width, r.height);
    PictureOps::ScalePictureAlpha(cut, work.picture, static_cast<int32_t>(b * 255.0));
    SceneTarget t;
    t.picture.Attach(expected.bytes.data(), 300, 200, 1200, 4);
    t.width = 300;
    t.height = 200;
    ASSERT_TRUE(WarpFaceInto(t, q, work.picture, kSmoothBilinear));
    EXPECT_EQ(out.bytes, expected.bytes);

    // A tilted grid drawn as a mesh equals its faces drawn one by one.
    s.SetWorldMatrix(Multiply(Matrix3D::RotationX(0.4), Matrix3D::Translation(0.3, 0, -1)));
    const QuadMesh grid = QuadMeshCreator().MakeGrid(s.TopLeft(), s.TopRight(), {}, s.BottomLeft(), 3, 2,
                                                     &big.picture, nullptr, 0);
    QuadMesh wholes = grid;
    for (QuadFace& f : wholes.faces) f.frontRect = {0, 0, 1, 1};  // every face the same rectangle
    const std::vector<uint8_t> before = out.bytes;
    s.DrawMesh(wholes, kSmoothBilinear);
    const std::vector<uint8_t> meshBytes = out.bytes;
    EXPECT_NE(meshBytes, before);
    std::copy(before.begin(), before.end(), out.bytes.begin());  // the edge pass reads what lay there
    for (const int32_t i : DepthSortOrder(wholes.faces)) s.DrawQuad(wholes.faces[i], kSmoothBilinear, false);
    EXPECT_EQ(out.bytes, meshBytes);
}

// Work pictures full of a poison byte: a read of a pixel the shading left
// unprepared changes the picture.
class PoisonAllocator final : public IHostAllocator {
public:
    int32_t QueryInterface(const Guid&, void** out) override {
        *out = nullptr;
        return kStatusNoInterface;
    }
    uint32_t AddRef() override { return 1; }
    uint32_t Release() override { return 1; }
    int32_t Allocate(void** out, uint32_t size) override {
        *out = std::malloc(size);
        return 0;
    }
    void Free(void* block) override { std::free(block); }
    int32_t AllocatePicture(void** out, int32_t width, int32_t height, int32_t channels,
                            int32_t* pitch) override {
        *pitch = width * channels;
        *out = std::malloc(static_cast<size_t>(*pitch) * height);
        std::memset(*out, ++poison | 0x80, static_cast<size_t>(*pitch) * height);
        return 0;
    }
    void FreePicture(void* block) override { std::free(block); }
    uint8_t poison = 0;
};

class AllocatorHost final : public IVideoHost {
public:
    int32_t QueryInterface(const Guid& iid, void** out) override {
        *out = SameGuid(iid, IID_IHostAllocator) ? static_cast<void*>(&allocator) : nullptr;
        return *out != nullptr ? kStatusOk : kStatusNoInterface;
    }
    uint32_t AddRef() override { return 1; }
    uint32_t Release() override { return 1; }
    bool GetParameterValue(int32_t, ParameterValue*, int32_t) override { return false; }
    bool HostReservedA(int32_t, void*, uint8_t) override { return false; }
    intptr_t HostReservedB(void*, void*) override { return 0; }
    bool HostReservedC(void*, void*) override { return false; }
    void HostReservedD(void*) override {}
    PoisonAllocator allocator;
};

TEST(ShadedFaces, RandomPosesReadOnlyPreparedPixels) {
    AllocatorHost host;
    MemoryAllocator poisoned(&host);
    Frame big(160, 120);
    big.Pattern(5);
    std::mt19937 random(77);
    std::uniform_real_distribution<double> angle(-1.2, 1.2), shift(-1.6, 1.6), depth(-4.0, 1.5);
    LinearLight light;
    light.SetAmbient(0.2);
    for (int trial = 0; trial < 150; ++trial) {
        Frame out(120, 90, 0x40), expected(120, 90, 0x40);
        Scene3D s;
        s.SetAllocator(&poisoned);
        s.SetTarget(out.picture);
        s.AddLight(&light);
        s.SetProjectionMatrix(Matrix3D::Perspective(6.0));
        Matrix3D world = Multiply(Matrix3D::RotationX(angle(random)), Matrix3D::RotationY(angle(random)));
        world = Multiply(world, Matrix3D::RotationZ(angle(random) * 2.0));
        world = Multiply(world, Matrix3D::Translation(shift(random), shift(random), depth(random)));
        s.SetWorldMatrix(world);
        QuadFace face(s.TopLeft(), s.TopRight(), s.BottomRight(), s.BottomLeft(), &big.picture, nullptr, 0);
        s.DrawQuad(face, kSmoothBilinear, false);

        const std::vector<Vector3D> c = face.TransformedCorners(s.GetCombinedMatrix());
        const Vector3D n = TriangleNormal(c[0], c[3], c[1]);
        if (n.z < 0.0) continue;
        double q[8];
        for (int i = 0; i < 4; ++i) {
            const PixelPosition p = s.Project(c[i]);
            q[2 * i] = SnapToPixel(p.x);
            q[2 * i + 1] = SnapToPixel(p.y);
        }
        Frame work(160, 120);
        PictureOps::ScalePictureAlpha(big.picture, work.picture,
                                      static_cast<int32_t>(s.LightFactor(n, {}, false) * 255.0));
        SceneTarget t;
        t.picture.Attach(expected.bytes.data(), 120, 90, 480, 4);
        t.width = 120;
        t.height = 90;
        WarpFaceInto(t, q, work.picture, kSmoothBilinear);
        ASSERT_EQ(out.bytes, expected.bytes) << "trial " << trial;
    }
}

// The box a face warp reads: poisoning every source pixel outside it changes
// nothing, for quadrangles near and far, shrunk and grown, partly off the
// destination, and seen nearly edge-on (where the box must widen to the whole
// source rather than miss a read).
TEST(FaceFootprint, HoldsEveryPixelTheWarpReads) {
    std::mt19937 random(4242);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    int32_t bounded = 0;
    for (int trial = 0; trial < 400; ++trial) {
        const int32_t w = 2 + static_cast<int32_t>(unit(random) * 150);
        const int32_t h = 2 + static_cast<int32_t>(unit(random) * 110);
        Frame clean(w, h);
        clean.Pattern(trial);
        double q[8];
        const double cx = unit(random) * 120 - 20, cy = unit(random) * 90 - 15;
        const double r = 2.0 + unit(random) * (trial % 3 == 0 ? 400.0 : 60.0);
        for (int k = 0; k < 4; ++k) {
            // Corners at uneven distances give strong perspective.
            const double a = k * M_PI / 2 + (unit(random) - 0.5) * 1.2;
            const double rr = r * (trial % 5 == 0 ? 0.02 + unit(random) : 0.5 + unit(random) * 0.5);
            q[2 * k] = cx + rr * std::cos(a);
            q[2 * k + 1] = cy + rr * std::sin(a);
        }
        const detail::FaceFootprint box = detail::FaceFootprintOf(w, h, 100, 75, q);
        Frame poisoned(w, h);
        poisoned.bytes = clean.bytes;
        for (int32_t y = 0; y < h; ++y)
            for (int32_t x = 0; x < w; ++x)
                if (x < box.x0 || x > box.x1 || y < box.y0 || y > box.y1)
                    std::memset(poisoned.Px(x, y), 0xA5, 4);
        bounded += box.x0 > 0 || box.y0 > 0 || box.x1 < w - 1 || box.y1 < h - 1;
        Frame fromClean(100, 75, 0x40), fromPoisoned(100, 75, 0x40);
        const bool drawn = detail::WarpSourceIntoQuad(clean.bytes.data(), w, h, w * 4, fromClean.bytes.data(),
                                                      100, 75, 400, q, kSmoothBilinear);
        EXPECT_EQ(detail::WarpSourceIntoQuad(poisoned.bytes.data(), w, h, w * 4, fromPoisoned.bytes.data(),
                                             100, 75, 400, q, kSmoothBilinear),
                  drawn);
        ASSERT_EQ(fromClean.bytes, fromPoisoned.bytes) << "trial " << trial;
    }
    // Most boxes are smaller than the source, or the test proves little.
    EXPECT_GT(bounded, 100);
}

TEST_F(SceneFixture, EdgePassMixesTheRimOfASlantedEdge) {
    Frame small(8, 8, 0);
    Frame white(4, 4, 255);
    SceneTarget t;
    t.picture.Attach(small.bytes.data(), 8, 8, 32, 4);
    t.width = 8;
    t.height = 8;
    const double q[8] = {1, 1, 6, 2, 6, 6, 1, 6};
    EXPECT_TRUE(WarpFaceInto(t, q, white.picture, kSmoothBilinear));
    // The top edge crosses column 3 at row 1.4: the outer pixel (3, 1) takes
    // 0.6 of the inner one.
    EXPECT_EQ(small.Px(3, 1)[0], 153);
    EXPECT_EQ(small.Px(3, 1)[3], 153);
    EXPECT_EQ(small.Px(3, 2)[0], 255);
    // Axis-parallel edges stay hard.
    EXPECT_EQ(small.Px(0, 3)[0], 0);
    EXPECT_EQ(small.Px(1, 3)[0], 255);
    EXPECT_EQ(small.Px(6, 6)[0], 255);
    EXPECT_EQ(small.Px(7, 6)[0], 0);
    EXPECT_EQ(small.Px(3, 7)[0], 0);
    // Without the smooth bit the rim is left alone.
    Frame hard(8, 8, 0);
    t.picture.Attach(hard.bytes.data(), 8, 8, 32, 4);
    EXPECT_TRUE(WarpFaceInto(t, q, white.picture, 2));
    EXPECT_EQ(hard.Px(3, 1)[0], 0);
    // A bow-tie is refused.
    const double bowTie[8] = {1, 1, 6, 6, 6, 1, 1, 6};
    EXPECT_FALSE(WarpFaceInto(t, bowTie, white.picture, 2));
}

TEST_F(SceneFixture, ClearsKeepOrSetAlphaAsAsked) {
    scene.ClearToColor(ColorRGB(0x00332211u), false);
    EXPECT_EQ(target.Px(5, 5)[0], 0x33);
    EXPECT_EQ(target.Px(5, 5)[2], 0x11);
    EXPECT_EQ(target.Px(5, 5)[3], 0x11);  // the frame's own alpha
    scene.ClearToColor(ColorRGB(), true);
    EXPECT_EQ(target.Px(39, 29)[3], 0);
    Frame smaller(10, 5);
    smaller.Pattern(3);
    scene.ClearToPicture(smaller.picture, ColorRGB(1, 2, 3));
    EXPECT_EQ(std::memcmp(target.Px(0, 4), smaller.Px(0, 4), 40), 0);
    const uint8_t fill[4] = {3, 2, 1, 255};
    EXPECT_EQ(std::memcmp(target.Px(10, 4), fill, 4), 0);
    EXPECT_EQ(std::memcmp(target.Px(0, 5), fill, 4), 0);
}

TEST(Scene3D, LightsAndPostEffectsAreKeptOnceEach) {
    struct Counting final : PREffect {
        explicit Counting(int* deleted) : deleted(deleted) {}
        ~Counting() override { ++*deleted; }
        void ProcessPicture(Picture&) override {}
        int* deleted;
    };
    Scene3D scene;
    EXPECT_EQ(scene.LightFactor({0, 0, 1}, {}, false), 1.0);
    LinearLight a, b;
    a.SetAmbient(0.5);
    scene.AddLight(&a);
    scene.AddLight(&a);
    scene.AddLight(nullptr);
    scene.AddLight(&b);
    EXPECT_EQ(scene.LightCount(), 2u);
    EXPECT_EQ(scene.LightFactor({1, 0, 0}, {}, false), 0.25);
    scene.ClearLights();
    EXPECT_EQ(scene.LightCount(), 0u);
    int deleted = 0;
    auto* effect = new Counting(&deleted);
    scene.AddPostEffect(effect);
    scene.AddPostEffect(effect);
    scene.DeletePostEffects();
    EXPECT_EQ(deleted, 1);
    scene.SetFlags(0x41);
    EXPECT_TRUE(scene.TestFlags(SceneFlagDoubleSided));
    EXPECT_FALSE(scene.TestFlags(0x2));
}

}  // namespace
}  // namespace halcyra
