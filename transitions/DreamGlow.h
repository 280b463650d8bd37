// The dream glow: a post effect that a scene runs on the picture of every
// face it draws. It blurs the face, brightens each pixel towards the blurred
// brightness in one colour and raises the alpha there, which gives a soft
// halo around the bright parts of the face. The colour also caps every
// channel, glow or not, so a colour other than white tints the whole face.
#pragma once

#include <cstdint>

#include "scene/Scene3D.h"

namespace halcyra {

class MemoryAllocator;

class PRDreamGlowEffect final : public PREffect {
public:
    // The allocator is not owned and must outlive the effect, as the frame's does.
    PRDreamGlowEffect(uint32_t colour, float spread, float gain, MemoryAllocator* allocator)
        : colour(colour), spread(spread), gain(gain), allocator(allocator) {}

    void ProcessPicture(Picture& picture) override;

    uint32_t colour;  // red in the low byte
    float spread;     // drives the blur radius
    float gain;       // drives the brightness of the glow
    MemoryAllocator* allocator;
};

// The glow of one pixel row: blurred holds the blurred picture, source the
// face; the result goes to out (which may be blurred itself). gainInt is the
// 512ths of the glow's strength, colour the packed glow colour.
void KernelDreamGlowRow(const uint8_t* blurred, const uint8_t* source, uint8_t* out, int32_t width,
                        int32_t gainInt, uint32_t colour);

}  // namespace halcyra
