// The ten wrappers' shown parameter lists and inner-parameter sources.
#pragma once

#include "frame/WrappedEffect.h"

namespace halcyra {

extern const WrapperDescriptor kWrapAirbrush;
extern const WrapperDescriptor kWrapColorize;
extern const WrapperDescriptor kWrapLinedrawing;
extern const WrapperDescriptor kWrapMetallic;
extern const WrapperDescriptor kWrapPastelsketch;
extern const WrapperDescriptor kWrapEarthquake;
extern const WrapperDescriptor kWrapMotionblur;
extern const WrapperDescriptor kWrapShearenergy;
extern const WrapperDescriptor kWrapZoomblur;
extern const WrapperDescriptor kWrapActivecamera;

}  // namespace halcyra
