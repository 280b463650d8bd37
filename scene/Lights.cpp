// Light values of a face.
#include "scene/Lights.h"

namespace halcyra {

double Light3D::GetLight(Vector3D, Vector3D, bool) {
    return 1.0;
}

double LinearLight::GetLight(Vector3D normal, Vector3D, bool twoSided) {
    double v = -Dot(direction, normal);
    // Seen from behind, a face is lit as if from its own side.
    if (twoSided && v < 0.0) v = -v;
    v = v < 0.0 ? 0.0 : (v > 1.0 ? 1.0 : v);
    return (1.0 - ambient) * v + ambient;
}

}  // namespace halcyra
