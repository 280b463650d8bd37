// Box Fold.
#include "transitions/BoxFold.h"

#include <cmath>

namespace halcyra {
namespace {

constexpr ParameterDesc kBoxFoldParameters[] = {
    FloatParam("Shading", 0.5f),
    FloatParam("Speed", 0.5f),
    FloatParam("Depth", 0.9f),
    PointParam("Tilt", 1.0f, 1.0f),
    BoolParam("Reverse", false),
    ChoiceParam("Background", kBackgroundTransparent, kBackgroundChoices),
    ColourParam("Background Color", kDefaultBackgroundColor),
};
const EffectDescriptor kBoxFoldDescriptor{"Corvane 3D Box Fold", 2, kBoxFoldParameters};

enum BoxSide : size_t { kFront = 0, kRight = 1, kRear = 2, kLeft = 3, kTop = 4, kBottom = 5 };

// A turn by angle about the line through (0, y, 0) along x, or through
// (x, 0, 0) along y.
Matrix3D HingeX(double y, double angle) {
    Matrix3D m = Matrix3D::Translation(0.0, -y, 0.0);
    m = Multiply(m, Matrix3D::RotationX(angle));
    return Multiply(m, Matrix3D::Translation(0.0, y, 0.0));
}
Matrix3D HingeY(double x, double angle) {
    Matrix3D m = Matrix3D::Translation(-x, 0.0, 0.0);
    m = Multiply(m, Matrix3D::RotationY(angle));
    return Multiply(m, Matrix3D::Translation(x, 0.0, 0.0));
}

}  // namespace

D3DBoxInversion::D3DBoxInversion() : BaseEffect(kBoxFoldDescriptor) {}

Matrix3D BoxFoldWorldMatrix(double t, double depth, double tx, double ty, double halfWidth) {
    const double s = std::sin(t * M_PI);
    const double a = s * M_PI * 0.5 * depth;
    Matrix3D m = Matrix3D::RotationZ((tx * 2.0 - 1.0) * a * 0.30000001192092896);
    m = Multiply(m, Matrix3D::RotationX((ty * 2.0 - 1.0) * a * 0.20000000298023224));
    m = Multiply(m, Matrix3D::RotationY((tx * 2.0 - 1.0) * a * 0.30000001192092896));
    m = Multiply(m, Matrix3D::Translation(0.0, s * (-depth * 0.6000000238418579), -10.0 * depth * s));
    // The rear face, which the fold brings to z = 2, ends in the frame's plane.
    return Multiply(m, Matrix3D::Translation(0.0, 0.0, -halfWidth * 2.0 * std::sin(t * M_PI * 0.5)));
}

double BoxFoldTime(double t, float speed) {
    const double h = (1.0f - speed) * 0.5f;
    if (t < h) return 0.0;
    if (t > 1.0 - h) return 1.0;
    return (t - h) / speed;
}

QuadMesh FoldBox(const QuadMesh& mesh, double f) {
    if (mesh.faces.size() != 6) return {};
    QuadMesh folded = mesh;
    std::vector<QuadFace>& faces = folded.faces;
    const double a = M_PI * f;
    faces[kRight].Transform(HingeY(faces[kRight].Centre().x, a));
    faces[kLeft].Transform(HingeY(faces[kLeft].Centre().x, -a));
    faces[kBottom].Transform(HingeX(faces[kBottom].Centre().y, a));
    // The rear opens about the edge it shares with the top, then rides on the top.
    const Vector3D r = faces[kRear].corners.empty() ? Vector3D() : faces[kRear].corners[0];
    Matrix3D rear = Matrix3D::Translation(0.0, -r.y, -r.z);
    rear = Multiply(rear, Matrix3D::RotationX(-a));
    faces[kRear].Transform(Multiply(rear, Matrix3D::Translation(0.0, r.y, r.z)));
    const Matrix3D top = HingeX(faces[kTop].Centre().y, -a);
    faces[kTop].Transform(top);
    faces[kRear].Transform(top);
    return folded;
}

bool D3DBoxInversion::RenderScene(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                                  double progress, MemoryAllocator*) {
    ParameterReader read(host);
    const float shading = read.Float(0);
    const float speed = read.Float(1) * 0.9f + 0.1f;
    float tiltX, tiltY;
    read.Point(3, tiltX, tiltY);
    const float depth = read.Float(2) * 1.5f + 0.1f;
    const bool reverse = read.Bool(4);
    const uint32_t backgroundColour = read.Colour(6);
    const int32_t background = read.Choice(5);
    // Tilt inverts x.
    const float tx = 1.0f - tiltX;
    const float ty = tiltY;

    ScenePictures pictures;
    AttachScenePictures(pictures, first, second, output, reverse);

    LinearLight light;
    SetUpLitScene(scene, light, 1.0f - shading, pictures.output);
    scene.SetFlags(SceneFlagDoubleSided);

    const double t = SceneTime(progress, reverse);
    // t = 0 is drawn: the closed box's front fills the frame.
    if (!ClearAtEnds(scene, pictures.first, pictures.second, t, true)) {
        DrawBackground(background, backgroundColour, pictures);
        const QuadMesh box = QuadMeshCreator().MakeBox(
            scene.TopLeft(), scene.TopRight(), scene.BottomRight(), scene.BottomLeft(),
            -scene.ViewHalfWidth() * 2.0, &pictures.first, &pictures.second, kBackFlipHorizontal);
        scene.SetWorldMatrix(BoxFoldWorldMatrix(t, depth, tx, ty, scene.ViewHalfWidth()));
        scene.DrawMesh(FoldBox(box, BoxFoldTime(t, speed)), SceneDrawFlags());
    }
    scene.ClearLights();
    scene.DeletePostEffects();
    return true;
}

}  // namespace halcyra
