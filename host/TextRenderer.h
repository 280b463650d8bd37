// Labels drawn with FreeType from a system font (DejaVu Sans, Debian's
// fonts-dejavu-core), blended into BGRA frames.
#pragma once

#include <memory>
#include <string>

#include "host/Common.h"

namespace halcyra::host {

class TextRenderer {
public:
    // Throws HostError when FreeType or the font cannot be opened.
    explicit TextRenderer(bool bold = false);
    ~TextRenderer();
    TextRenderer(const TextRenderer&) = delete;
    TextRenderer& operator=(const TextRenderer&) = delete;

    // Pixel width of `text` at `pixelSize`.
    int Measure(const std::string& text, int pixelSize);
    // Draws `text` with its baseline at row `baseline`, starting at column `x`;
    // colour is 0xRRGGBB. Returns the x after the last glyph.
    int Draw(Frame& frame, int x, int baseline, int pixelSize, const std::string& text, uint32_t colour);

    // The font file in use, for messages.
    static std::string FindFont(bool bold);

private:
    struct State;
    std::unique_ptr<State> state;
};

}  // namespace halcyra::host
