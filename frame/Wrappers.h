// The ten wrapped effects of the catalogue, each a WrappedEffect over its
// inner effect and its table. A wrapper is declared once its inner effect exists.
#pragma once

#include "effects/Metallic.h"
#include "frame/WrapperTables.h"

namespace halcyra {

class CWrapMetallic final : public WrappedEffect<CMetallicEffect> {
public:
    CWrapMetallic() : WrappedEffect(kWrapMetallic) {}
};

}  // namespace halcyra
