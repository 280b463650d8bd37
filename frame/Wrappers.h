// The ten wrapped effects of the catalogue, each a WrappedEffect over its
// inner effect and its table. A wrapper is declared once its inner effect exists.
#pragma once

#include "effects/Camera.h"
#include "effects/Colorize.h"
#include "effects/Metallic.h"
#include "effects/Shear.h"
#include "effects/Sketch.h"
#include "effects/Wave.h"
#include "effects/Zoom.h"
#include "frame/WrapperTables.h"

namespace halcyra {

class CWrapAirbrush final : public WrappedEffect<CAirbrush> {
public:
    CWrapAirbrush() : WrappedEffect(kWrapAirbrush) {}
};

class CWrapLinedrawing final : public WrappedEffect<CLinedrawing> {
public:
    CWrapLinedrawing() : WrappedEffect(kWrapLinedrawing) {}
};

class CWrapPastelsketch final : public WrappedEffect<CPastelsketch> {
public:
    CWrapPastelsketch() : WrappedEffect(kWrapPastelsketch) {}
};

class CWrapMetallic final : public WrappedEffect<CMetallicEffect> {
public:
    CWrapMetallic() : WrappedEffect(kWrapMetallic) {}
};

class CWrapShearenergy final : public WrappedEffect<CShearenergy> {
public:
    CWrapShearenergy() : WrappedEffect(kWrapShearenergy) {}
};

class CWrapZoomblur final : public WrappedEffect<CZoomblur> {
public:
    CWrapZoomblur() : WrappedEffect(kWrapZoomblur) {}
};

class CWrapActivecamera final : public WrappedEffect<CActivecamera> {
public:
    CWrapActivecamera() : WrappedEffect(kWrapActivecamera) {}
};

class CWrapColorize final : public WrappedEffect<CColorize> {
public:
    CWrapColorize() : WrappedEffect(kWrapColorize) {}
};

class CWrapEarthquake final : public WrappedEffect<CEarthquake> {
public:
    CWrapEarthquake() : WrappedEffect(kWrapEarthquake) {}
};

class CWrapMotionblur final : public WrappedEffect<CMotionblur> {
public:
    CWrapMotionblur() : WrappedEffect(kWrapMotionblur) {}
};

}  // namespace halcyra
