// Wiggle.
#include "transitions/Wiggle.h"

#include <cmath>

#include "picture/MemoryAllocator.h"
#include "picture/PictureOps.h"
#include "transitions/Wave3D.h"

namespace halcyra {
namespace {

constexpr const char* kDirectionChoices[] = {"Horizontal", "Vertical"};

constexpr ParameterDesc kWiggleParameters[] = {
    FloatParam("Shading", 0.12f),
    FloatParam("Delay", 0.07f),
    FloatParam("Amplitude", 0.5f),
    FloatParam("Phase", 0.0f),
    FloatParam("Frequency", 0.5f),
    ChoiceParam("Direction", 0, kDirectionChoices),
    BoolParam("Reverse", false),
    ChoiceParam("Background", kBackgroundColor, kBackgroundChoices),
    ColourParam("Background Color", kDefaultBackgroundColor),
};
const EffectDescriptor kWiggleDescriptor{"Corvane 3D Wiggle", 2, kWiggleParameters};

constexpr int32_t kStrips = 50;

double WiggleCoordinate(const Vector3D& corner, bool byY) {
    return byY ? corner.y : corner.x;
}

}  // namespace

D3DKnolls::D3DKnolls() : BaseEffect(kWiggleDescriptor) {}

void RaiseWiggle(QuadMesh& mesh, double p, double frequency, double phase, double amplitude, bool byY) {
    for (QuadFace& face : mesh.faces)
        for (Vector3D& c : face.corners)
            c.z = std::sin(WiggleCoordinate(c, byY) * frequency + phase) * amplitude * p;
}

void RunWiggle(QuadFace& face, double q, double frequency, double phase, double amplitude, bool byY) {
    for (Vector3D& c : face.corners)
        c.z = std::sin(WiggleCoordinate(c, byY) * frequency + phase + q * M_PI * 2.0 * frequency) *
              amplitude * (1.0 - q);
}

bool D3DKnolls::RenderScene(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                            double progress, MemoryAllocator* allocator) {
    ParameterReader read(host);
    // At most half of the light can be taken away.
    const float shading = read.Float(0) * 0.5f;
    const float delay = read.Float(1) * 0.5f + 0.01f;
    const float amplitude = read.Float(2) * 5.9f;
    const float phase = read.Float(3) * static_cast<float>(M_PI) * 2.0f;
    const float frequency = read.Float(4) * 10.0f;
    const bool byY = read.Choice(5) == 1;
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
        const Picture& out = pictures.output;
        Picture mixed;
        if (!mixed.Allocate(out.width, out.height, out.bytesPerPixel, allocator)) {
            result = false;
        } else {
            // Where an input is smaller the mix writes nothing; the strips
            // would otherwise carry stale memory there.
            const Picture& a = pictures.first;
            const Picture& b = pictures.second;
            if (a.width < out.width || a.height < out.height || b.width < out.width || b.height < out.height)
                PictureOps::FillPicture(mixed, 0);
            PictureOps::MixPictures(a, b, mixed, static_cast<float>(1.0 - t), static_cast<float>(t));
            const int32_t columns = byY ? 1 : kStrips;
            const int32_t rows = byY ? kStrips : 1;
            QuadMesh sheet = QuadMeshCreator().MakeTiles(
                out.width, out.height, scene.TopLeft(), scene.TopRight(), scene.BottomRight(),
                scene.BottomLeft(), columns, rows, &mixed, &mixed, kBackFlipHorizontal, false);
            const WavePhases phases = SplitWaveTime(t, delay);
            RaiseWiggle(sheet, phases.p, frequency, phase, amplitude, byY);
            if (phases.q > 0.0)
                for (QuadFace& face : sheet.faces)
                    RunWiggle(face, phases.q, frequency, phase, amplitude, byY);
            // The world matrix stays as the scene holds it, the identity.
            scene.DrawMesh(sheet, SceneDrawFlags());
        }
    }
    scene.ClearLights();
    return result;
}

}  // namespace halcyra
