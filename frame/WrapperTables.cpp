// Wrapper tables. layoutPrimary is 66 times the inner index of the parameter,
// so the host's panel keeps the rows of the full effect (the stated
// exceptions stand as they are); layoutSecondary steps by 90.
#include "frame/WrapperTables.h"

namespace halcyra {
namespace {

constexpr ParameterDesc Float(const char* name, float value, int32_t primary, int32_t secondary = 0,
                              float minimum = 0.0f, float maximum = 100.0f) {
    return WithLayout(FloatParam(name, value, minimum, maximum), primary, secondary);
}
constexpr ParameterDesc Colour(const char* name, uint32_t value, int32_t primary) {
    return WithLayout(ColourParam(name, value), primary, 0);
}
constexpr ParameterDesc Point(const char* name, float x, float y, int32_t primary, int32_t secondary) {
    return WithLayout(PointParam(name, x, y), primary, secondary);
}

constexpr ParameterDesc kActivecameraShown[] = {
    Float("$$$/CV/Horizontal=Horizontal", 0.2f, 0), Float("$$$/CV/Vertical=Vertical", 0.5f, 66),
    Float("$$$/CV/Crop=Crop", 0.115f, 198),         Float("$$$/CV/Rate=Rate", 0.9f, 264),
    Float("$$$/CV/Jitter=Jitter", 0.5f, 330),
};
constexpr InnerSource kActivecameraInner[] = {
    Shown(0), Shown(1),           FixedFloat(0.0f),  Shown(2),        Shown(3),
    Shown(4), FixedFloat(0.105f), FixedFloat(0.54f), FixedBool(true),
};

constexpr ParameterDesc kAirbrushShown[] = {Float("$$$/CV/Spray=Spray", 0.73f, 0)};
constexpr InnerSource kAirbrushInner[] = {Shown(0), FixedFloat(1.0f)};

constexpr ParameterDesc kColorizeShown[] = {
    Colour("$$$/CV/ColorA=Color A", 0x0000FE, 0),
    Float("$$$/CV/StrengthA=Strength A", 0.44f, 66),
    Colour("$$$/CV/ColorB=Color B", 0xFF0000, 132),
    Float("$$$/CV/StrengthB=Strength B", 0.405f, 198),
};
constexpr InnerSource kColorizeInner[] = {
    Shown(0),    Shown(1),         Shown(2),         Shown(3),
    FixedInt(0), FixedFloat(0.0f), FixedFloat(0.0f), FixedFloat(0.615f),
};

constexpr ParameterDesc kLinedrawingShown[] = {
    Colour("$$$/CV/Paper=Paper", 0xFFFFFF, 66),  // both colours carry 66
    Colour("$$$/CV/Ink=Ink", 0x000000, 66),
    Float("$$$/CV/Density=Density", 0.5f, 132),
};
constexpr InnerSource kLinedrawingInner[] = {Shown(0), Shown(1), Shown(2), FixedFloat(0.5f)};

constexpr ParameterDesc kMetallicShown[] = {
    Colour("$$$/CV/Color=Color", 0xFFFFFF, 0),
    Float("$$$/CV/Metal=Metal", 0.5f, 264),
    Float("$$$/CV/Picture=Picture", 0.475f, 330),
};
constexpr InnerSource kMetallicInner[] = {
    Shown(0), FixedFloat(1.0f), FixedFloat(0.91f), FixedFloat(0.475f), Shown(1), Shown(2),
};

constexpr ParameterDesc kPastelsketchShown[] = {
    Float("$$$/CV/Density=Density", 0.495f, 132),
    Float("$$$/CV/Blend=Blend", 0.495f, 198),
};
constexpr InnerSource kPastelsketchInner[] = {FixedInt(0xFFFFFF), FixedInt(0x060304), Shown(0), Shown(1)};

constexpr ParameterDesc kEarthquakeShown[] = {Float("$$$/CV/Magnitude=Magnitude", 0.835f, 0)};
constexpr InnerSource kEarthquakeInner[] = {Shown(0), FixedFloat(0.825f)};

constexpr ParameterDesc kMotionblurShown[] = {
    Float("$$$/CV/Blur=Blur", 0.505f, 0),
    Float("$$$/CV/Angle=Angle", 0.0f, 66, 0, 0.0f, 360.0f),
    Float("$$$/CV/Blend=Blend", 0.415f, 198, 0, -100.0f, 100.0f),
};
constexpr InnerSource kMotionblurInner[] = {Shown(0), Shown(1), FixedFloat(1.0f), Shown(2), FixedInt(1)};

constexpr ParameterDesc kShearenergyShown[] = {
    Float("$$$/CV/HShear=H Shear", 1.0f, 0),
    Float("$$$/CV/VShear=V Shear", 0.91f, 66),
    Float("$$$/CV/Angle=Angle", 0.0f, 132, 0, 0.0f, 360.0f),
    Point("$$$/CV/Center=Center", 0.488372f, 0.465116f, 0, 90),
    Float("$$$/CV/Blend=Blend", 0.505f, 198, 90),
};
constexpr InnerSource kShearenergyInner[] = {
    Shown(0), Shown(1), Shown(2), FixedFloat(0.51f), Shown(3), Shown(4), FixedInt(1),
};

constexpr ParameterDesc kZoomblurShown[] = {
    Float("$$$/CV/Zoom=Zoom", 0.51f, 0),
    Float("$$$/CV/Blend=Blend", 1.0f, 132),
    Point("$$$/CV/Center=Center", 0.5f, 0.5f, 198, 0),
};
constexpr InnerSource kZoomblurInner[] = {Shown(0), FixedFloat(0.0f), Shown(1), Shown(2)};

}  // namespace

const WrapperDescriptor kWrapAirbrush{"Airbrush HY", kAirbrushShown, kAirbrushInner};
const WrapperDescriptor kWrapColorize{"Colorize HY", kColorizeShown, kColorizeInner};
const WrapperDescriptor kWrapLinedrawing{"Linedrawing HY", kLinedrawingShown, kLinedrawingInner};
const WrapperDescriptor kWrapMetallic{"Metallic HY", kMetallicShown, kMetallicInner, true};
const WrapperDescriptor kWrapPastelsketch{"Pastelsketch HY", kPastelsketchShown, kPastelsketchInner};
const WrapperDescriptor kWrapEarthquake{"Earthquake HY", kEarthquakeShown, kEarthquakeInner};
const WrapperDescriptor kWrapMotionblur{"Motionblur HY", kMotionblurShown, kMotionblurInner};
const WrapperDescriptor kWrapShearenergy{"Shearenergy HY", kShearenergyShown, kShearenergyInner};
const WrapperDescriptor kWrapZoomblur{"Zoomblur HY", kZoomblurShown, kZoomblurInner};
const WrapperDescriptor kWrapActivecamera{"Activecamera HY", kActivecameraShown, kActivecameraInner};

}  // namespace halcyra
