// The catalogue rows. The indices are part of the contract with hosts and
// never move, including the Fly Apart row behind the wrapped effects.
#include "frame/Catalogue.h"

#include "effects/Camera.h"
#include "effects/Glow.h"
#include "effects/Metallic.h"
#include "effects/Overlay.h"
#include "effects/Roll.h"
#include "effects/Wave.h"
#include "effects/Zoom.h"
#include "frame/Wrappers.h"
#include "transitions/BouncingCubes.h"
#include "transitions/BoxExplode.h"
#include "transitions/BoxFold.h"
#include "transitions/CheckerBoard.h"
#include "transitions/Confetti.h"
#include "transitions/PlaneExplode.h"
#include "transitions/Rings.h"
#include "transitions/Spirals.h"
#include "transitions/Twist.h"
#include "transitions/Wave3D.h"
#include "transitions/Wiggle.h"

namespace halcyra {
namespace {

template <class Effect>
IVideoEffect* Make() {
    return new Effect();
}

constexpr CatalogueRow kRows[kCatalogueSize] = {
    {"CRoll", "Corvane Roll", 2, Make<CRoll>},
    {"CShake", "Corvane Shake", 2, Make<CShake>},
    {"CShear", "Corvane Shear", 2, Make<CShear>},
    {"CSmear", "Corvane Smear", 2, Make<CSmear>},
    {"CSpin", "Corvane Spin", 2, Make<CSpin>},
    {"CWave", "Corvane Wave", 2, Make<CWave>},
    {"CZoom", "Corvane Zoom", 2, Make<CZoom>},
    {"D3DPlaneExplode", "Corvane 3D Plane Explode", 2, Make<D3DPlaneExplode>},
    {"D3DBoxExplode", "Corvane 3D Box Explode", 2, Make<D3DBoxExplode>},
    {"D3DTwist", "Corvane 3D Twist", 2, Make<D3DTwist>},
    {"D3DRings", "Corvane 3D Rotating Frames", 2, Make<D3DRings>},
    {"D3DChessBoard", "Corvane 3D Checker Board", 2, Make<D3DChessBoard>},
    {"D3DMNCubesFly", "Corvane 3D Bouncing Cubes", 2, Make<D3DMNCubesFly>},
    {"D3DSpiral", "Corvane 3D Spiral", 2, Make<D3DSpiral>},
    {"D3DSpiralRotation", "Corvane 3D Spiral Rotation", 2, Make<D3DSpiralRotation>},
    {"D3DBoxInversion", "Corvane 3D Box Fold", 2, Make<D3DBoxInversion>},
    {"D3DRingsVibration", "Corvane 3D Bouncing Frames", 2, Make<D3DRingsVibration>},
    {"D3DWave", "Corvane 3D Wave", 2, Make<D3DWave>},
    {"D3DKnolls", "Corvane 3D Wiggle", 2, Make<D3DKnolls>},
    {"D3DBlowingLeaves", "Corvane 3D Confetti", 2, Make<D3DBlowingLeaves>},
    {"CGlow", "Corvane Glow", 2, Make<CGlow>},
    {"CHalo", "Corvane Halo", 2, Make<CHalo>},
    {"CMetallic", "Corvane Metallic", 2, Make<CMetallic>},
    {"CWrapAirbrush", "Airbrush HY", 1, Make<CWrapAirbrush>},
    {"CWrapColorize", "Colorize HY", 1, Make<CWrapColorize>},
    {"CWrapLinedrawing", "Linedrawing HY", 1, Make<CWrapLinedrawing>},
    {"CWrapMetallic", "Metallic HY", 1, Make<CWrapMetallic>},
    {"CWrapPastelsketch", "Pastelsketch HY", 1, Make<CWrapPastelsketch>},
    {"CWrapEarthquake", "Earthquake HY", 1, Make<CWrapEarthquake>},
    {"CWrapMotionblur", "Motionblur HY", 1, Make<CWrapMotionblur>},
    {"CWrapShearenergy", "Shearenergy HY", 1, Make<CWrapShearenergy>},
    {"CWrapZoomblur", "Zoomblur HY", 1, Make<CWrapZoomblur>},
    {"CWrapActivecamera", "Activecamera HY", 1, Make<CWrapActivecamera>},
    {"D3DLeafBlower", "Corvane 3D Fly Apart", 2, Make<D3DLeafBlower>},
    {"CWipe", "Corvane Road Sign", 2, Make<CWipe>},
    {"CWedding", "Corvane Wedding", 2, Make<CWedding>},
    {"CStar", "Corvane Star", 2, Make<CStar>},
};

}  // namespace

const CatalogueRow& CatalogueEntry(int32_t index) {
    return kRows[index];
}

IVideoEffect* CreateCatalogueEffect(int32_t index) {
    const auto row = static_cast<uint32_t>(index);
    if (row >= static_cast<uint32_t>(kCatalogueSize) || kRows[row].create == nullptr) return nullptr;
    return kRows[row].create();
}

}  // namespace halcyra
