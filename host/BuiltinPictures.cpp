// Procedural drawing of the built-in pictures, in resolution-independent
// coordinates (u across 0..1, v down 0..1), with a FreeType letter on top when
// the font is present.
#include "host/BuiltinPictures.h"

#include <algorithm>
#include <cmath>

#include "host/TextRenderer.h"

namespace halcyra::host {

namespace {

constexpr float kPi = 3.14159265f;

struct Rgb {
    float r, g, b;
};

Rgb Mix(Rgb a, Rgb b, float t) {
    return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t};
}

float SmoothStep(float edge0, float edge1, float x) {
    float t = std::clamp((x - edge0) / (edge1 - edge0), 0.0f, 1.0f);
    return t * t * (3 - 2 * t);
}

Rgb Hue(float h) {
    h = h - std::floor(h);
    float r = std::clamp(std::fabs(h * 6 - 3) - 1, 0.0f, 1.0f);
    float g = std::clamp(2 - std::fabs(h * 6 - 2), 0.0f, 1.0f);
    float b = std::clamp(2 - std::fabs(h * 6 - 4), 0.0f, 1.0f);
    return {r, g, b};
}

Rgb Landscape(float u, float v, float aspect) {
    // Sky: deep violet at the top to orange at the horizon.
    const float horizon = 0.58f;
    Rgb colour = Mix(Rgb{0.16f, 0.10f, 0.42f}, Rgb{1.0f, 0.55f, 0.18f}, SmoothStep(0.0f, horizon, v));
    // Sun with a soft halo and rays.
    float dx = (u - 0.68f) * aspect, dy = v - 0.40f;
    float distance = std::sqrt(dx * dx + dy * dy);
    float angle = std::atan2(dy, dx);
    float rays = 0.5f + 0.5f * std::sin(angle * 18.0f);
    colour = Mix(colour, Rgb{1.0f, 0.85f, 0.45f}, 0.35f * rays * std::exp(-distance * 5.0f));
    colour = Mix(colour, Rgb{1.0f, 0.95f, 0.70f}, 1.0f - SmoothStep(0.10f, 0.11f, distance));
    // Stars in the upper sky.
    float cellU = u * 90, cellV = v * 50;
    float hash = std::sin(std::floor(cellU) * 12.9898f + std::floor(cellV) * 78.233f) * 43758.5453f;
    float su = cellU - std::floor(cellU) - 0.5f, sv = (cellV - std::floor(cellV) - 0.5f) * 0.55f;
    float star = 1.0f - SmoothStep(0.02f, 0.12f, std::sqrt(su * su + sv * sv));
    if (hash - std::floor(hash) > 0.97f && v < 0.3f)
        colour = Mix(colour, Rgb{1, 1, 1}, star * (1 - v / 0.3f));
    // Three mountain ridges, far to near.
    const Rgb ridges[] = {{0.45f, 0.25f, 0.45f}, {0.25f, 0.15f, 0.35f}, {0.10f, 0.22f, 0.20f}};
    for (int i = 0; i < 3; ++i) {
        float base = 0.42f + 0.07f * i;
        float height = base - 0.08f * std::sin(u * (5 + 3 * i) + i * 1.7f) -
                       0.04f * std::sin(u * (17 + 5 * i) + i) - 0.015f * std::sin(u * 61 + i * 3);
        if (v > height && v < horizon) colour = Mix(ridges[i], colour, 0.15f * (horizon - v));
    }
    // Lake with rippled reflections, then a checkered shore in the foreground.
    if (v >= horizon) {
        float depth = (v - horizon) / (1 - horizon);
        float ripple = 0.5f + 0.5f * std::sin(v * 220 + std::sin(u * 30) * 2);
        colour = Mix(Rgb{0.95f, 0.50f, 0.25f}, Rgb{0.05f, 0.20f, 0.45f}, SmoothStep(0.0f, 0.6f, depth));
        colour = Mix(colour, Rgb{1.0f, 0.8f, 0.5f}, 0.25f * ripple * (1 - depth));
        if (std::fabs((u - 0.68f) * aspect) < 0.05f * (1 - depth) + 0.01f)
            colour = Mix(colour, Rgb{1.0f, 0.9f, 0.6f}, 0.5f * ripple);
        if (depth > 0.72f) {
            float perspective = 1.0f / (depth - 0.55f);
            int check = (static_cast<int>(std::floor((u - 0.5f) * 8 * perspective)) +
                         static_cast<int>(std::floor(perspective * 3))) &
                        1;
            colour = check ? Rgb{0.92f, 0.92f, 0.88f} : Rgb{0.12f, 0.12f, 0.16f};
        }
    }
    // A row of coloured balloons for sharp, saturated edges.
    for (int i = 0; i < 5; ++i) {
        float cx = 0.08f + 0.07f * i, cy = 0.18f + 0.05f * std::sin(i * 1.3f);
        float bx = (u - cx) * aspect, by = v - cy;
        float radius = std::sqrt(bx * bx + by * by * 0.8f);
        if (radius < 0.045f) {
            Rgb balloon = Hue(i / 5.0f);
            float shade =
                1.0f - 0.5f * radius / 0.045f +
                0.3f * std::exp(-((bx + 0.015f) * (bx + 0.015f) + (by + 0.015f) * (by + 0.015f)) * 4000);
            colour = {balloon.r * shade, balloon.g * shade, balloon.b * shade};
        }
    }
    return colour;
}

Rgb ColourStudy(float u, float v, float aspect) {
    // Plasma of interfering waves, coloured by hue.
    float x = u * aspect * 6, y = v * 6;
    float plasma =
        std::sin(x) + std::sin(y * 1.3f) + std::sin((x + y) * 0.7f) + std::sin(std::sqrt(x * x + y * y));
    Rgb colour = Hue(plasma * 0.12f + u * 0.3f);
    colour = Mix(colour, Rgb{1, 1, 1}, 0.15f);
    // Concentric rings around the centre.
    float dx = (u - 0.5f) * aspect, dy = v - 0.5f;
    float radius = std::sqrt(dx * dx + dy * dy);
    if (radius < 0.33f) {
        float ring = 0.5f + 0.5f * std::sin(radius * 120);
        Rgb wheel = Hue(std::atan2(dy, dx) / (2 * kPi) + 0.5f);
        colour = Mix(wheel, Rgb{0.05f, 0.05f, 0.08f}, ring * SmoothStep(0.1f, 0.33f, radius));
    }
    // A band of tiles with fine grid lines along the bottom.
    if (v > 0.86f) {
        int column = static_cast<int>(u * 16);
        colour = Hue(column / 16.0f);
        float shade = 0.6f + 0.4f * (v - 0.86f) / 0.14f;
        colour = {colour.r * shade, colour.g * shade, colour.b * shade};
        if (std::fmod(u * 16, 1.0f) < 0.04f) colour = {0.02f, 0.02f, 0.02f};
    }
    // Diagonal stripes in the top-left corner test thin slanted detail.
    if (u < 0.22f && v < 0.28f && std::fmod((u * aspect + v) * 60, 2.0f) < 1.0f)
        colour = Mix(colour, Rgb{0, 0, 0}, 0.6f);
    // A grey ramp along the top edge.
    if (v < 0.04f) colour = Rgb{u, u, u};
    return colour;
}

uint8_t ToByte(float value) {
    return static_cast<uint8_t>(std::lround(std::clamp(value, 0.0f, 1.0f) * 255.0f));
}

}  // namespace

Frame MakeBuiltinPicture(int which, int width, int height) {
    Frame frame(width, height);
    float aspect = static_cast<float>(width) / static_cast<float>(height);
    for (int y = 0; y < height; ++y) {
        uint8_t* row = frame.Row(y);
        float v = (y + 0.5f) / static_cast<float>(height);
        for (int x = 0; x < width; ++x) {
            float u = (x + 0.5f) / static_cast<float>(width);
            Rgb colour = which == 0 ? Landscape(u, v, aspect) : ColourStudy(u, v, aspect);
            row[x * 4 + 0] = ToByte(colour.b);
            row[x * 4 + 1] = ToByte(colour.g);
            row[x * 4 + 2] = ToByte(colour.r);
            row[x * 4 + 3] = 255;
        }
    }
    // The letter tells at a glance which clip an effect is showing.
    if (!TextRenderer::FindFont(true).empty() && height >= 24) {
        TextRenderer text(true);
        int size = std::max(12, height / 5);
        const std::string label = which == 0 ? "A" : "B";
        int x = which == 0 ? width / 24 : width - width / 24 - text.Measure(label, size);
        int baseline = height - height / 6;
        text.Draw(frame, x + std::max(1, size / 24), baseline + std::max(1, size / 24), size, label,
                  0x000000);
        text.Draw(frame, x, baseline, size, label, 0xFFFFFF);
    }
    return frame;
}

}  // namespace halcyra::host
