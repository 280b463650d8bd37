// Confetti and Fly Apart: the first picture torn into leaves, one per tile,
// that a wind sends away over the second picture. In Confetti the wind blows
// from a point on the rim of the frame; in Fly Apart from a point on a sphere,
// and the leaves shrink to nothing as they go. The leaves near the wind leave
// first and fly farthest. Nothing is random: the jitter of the start times
// comes from the sine of a leaf's index, the tumbling of Random rotation from
// the brightness of the two pictures under the leaf.
#pragma once

#include <cstdint>
#include <vector>

#include "scene/BaseEffect.h"

namespace halcyra {

// One leaf: a face with its flight from its place to a target, turning as it
// goes and, with shrink 1, shrinking to nothing.
class Leave3D {
public:
    // start and end are clamped to 0..1.
    Leave3D(const QuadFace& face, const Vector3D& target, double spin, double shrink, double start,
            double end, double cutOff, double tumble);

    // The leaf's motion at a time clamped to 0..1; the identity outside its
    // flight, so a leaf that has not started stands flat in the picture.
    Matrix3D LeafMatrix(double time) const;
    QuadFace LeafFace(double time) const;
    bool IsLeafAlive(double time) const { return cutOff == 0.0 || time < cutOff; }
    // Without tumble the leaf turns about its line of flight as seen in the
    // picture's plane; with it, about y and x by amounts the tumble sets.
    Matrix3D LeafRotation(double angle) const;

    QuadFace face;
    Vector3D target;      // where the leaf's centre ends up
    double spin = 0.0;    // total turn in radians
    double shrink = 0.0;  // share of its size the leaf loses by the end
    double start = 0.0;   // take-off time
    double end = 1.0;     // arrival time
    double cutOff = 0.0;  // not drawn from this time on; 0 means never
    double tumble = 0.0;  // 0 for the plain rotation
};

class LeaveSystem {
public:
    void AddLeaf(const Leave3D& leaf) { leaves.push_back(leaf); }
    // Leaves whose centre leaves -depth..depth in z are not drawn; 0 draws all.
    void SetClipDepth(double depth) { clipDepth = depth; }
    void DrawLeaves(Scene3D& scene, double time, uint32_t warpFlags) const;

    std::vector<Leave3D> leaves;
    double clipDepth = 0.0;
};

// The mean of (R·76 + G·149 + B·30) >> 8 over the rectangle clipped to the
// picture, divided by the unclipped area.
uint8_t MeanLuma(const Picture& picture, int32_t x, int32_t y, int32_t w, int32_t h);
// MeanLuma of every rectangle, reading the picture once, row by row.
std::vector<uint8_t> MeanLumas(const Picture& picture, const std::vector<PixelRect>& rects);
// A tumble from the brightness of both pictures under the face; Confetti's
// form swaps a tumble near 0 for another.
double ConfettiTumble(const QuadFace& face, const Picture* first, const Picture* second);
double FlyApartTumble(const QuadFace& face, const Picture* first, const Picture* second);

// Bubble sort of faces with their distances, nearest first or, descending,
// farthest first; equal distances keep their order.
void SortFacesByDistance(std::vector<QuadFace>& faces, std::vector<double>& distances, bool descending);

// What the leaves fly from and how: wind source, power P, flutter F and the
// two options shared by both transitions.
struct LeafWind {
    double power;
    double flutter;
    bool reverseOrder;
    bool randomRotation;
};
// Wind from the rim of the frame at angle theta, in the picture's plane.
LeaveSystem BuildConfettiLeaves(const QuadMesh& mesh, double theta, const LeafWind& wind,
                                const Picture* first, const Picture* second);
// Wind from (0, 0, R) turned about y by theta and then about x by phi;
// the leaves shrink.
LeaveSystem BuildFlyApartLeaves(const QuadMesh& mesh, double theta, double phi, const LeafWind& wind,
                                const Picture* first, const Picture* second);

// The scene's recession and tilt at time t for depth D and tilt (tx, ty).
Matrix3D LeafWorldMatrix(double t, double depth, double tx, double ty);

class D3DBlowingLeaves final : public BaseEffect {
public:
    D3DBlowingLeaves();
    bool RenderScene(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                     double progress, MemoryAllocator* allocator) override;
};

class D3DLeafBlower final : public BaseEffect {
public:
    D3DLeafBlower();
    bool RenderScene(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                     double progress, MemoryAllocator* allocator) override;
};

}  // namespace halcyra
