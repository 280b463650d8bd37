// Lights of the 3D scene. Shading is one brightness per face, 0..1, from the
// face's normal: no per-pixel light, no colour, no specular term.
#pragma once

#include "scene/Math3D.h"

namespace halcyra {

// A light that lights everything fully. Lights are locals of a frame and are
// never deleted through this base, so it has no destructor of its own.
class Light3D {
public:
    virtual double GetLight(Vector3D normal, Vector3D point, bool twoSided);

protected:
    ~Light3D() = default;
};

// Light travelling straight from the viewer into the scene, with an ambient
// floor: a face looking at the viewer gets 1, an edge-on face the ambient level.
class LinearLight final : public Light3D {
public:
    // Ignores levels outside 0..1 and keeps the previous one.
    void SetAmbient(double level) {
        if (level >= 0.0 && level <= 1.0) ambient = level;
    }
    double GetLight(Vector3D normal, Vector3D point, bool twoSided) override;

    Vector3D direction{0.0, 0.0, -1.0};
    double ambient = 0.0;
};

}  // namespace halcyra
