// FreeType glyph rendering into BGRA frames. Text is Latin-1 at most (effect
// names and numbers), so each byte is one character code.
#include "host/TextRenderer.h"

#include <ft2build.h>
#include <unistd.h>

#include <algorithm>
#include FT_FREETYPE_H

namespace halcyra::host {

namespace {

constexpr const char* kFontDirectories[] = {
    "/usr/share/fonts/truetype/dejavu/",
    "/usr/local/share/fonts/truetype/dejavu/",
    "/usr/share/fonts/TTF/",
    "/usr/share/fonts/dejavu/",
};

}  // namespace

struct TextRenderer::State {
    FT_Library library = nullptr;
    FT_Face face = nullptr;
    int size = 0;

    ~State() {
        if (face) FT_Done_Face(face);
        if (library) FT_Done_FreeType(library);
    }
    void SetSize(int pixelSize) {
        if (pixelSize != size) {
            FT_Set_Pixel_Sizes(face, 0, static_cast<FT_UInt>(pixelSize));
            size = pixelSize;
        }
    }
};

std::string TextRenderer::FindFont(bool bold) {
    const char* file = bold ? "DejaVuSans-Bold.ttf" : "DejaVuSans.ttf";
    for (const char* dir : kFontDirectories) {
        std::string path = std::string(dir) + file;
        if (access(path.c_str(), R_OK) == 0) return path;
    }
    return {};
}

TextRenderer::TextRenderer(bool bold) : state(std::make_unique<State>()) {
    std::string font = FindFont(bold);
    if (font.empty())
        throw HostError("cannot find the DejaVu Sans font (install the fonts-dejavu-core package)");
    if (FT_Init_FreeType(&state->library) != 0) throw HostError("cannot start FreeType");
    if (FT_New_Face(state->library, font.c_str(), 0, &state->face) != 0)
        throw HostError("cannot open the font " + font);
}

TextRenderer::~TextRenderer() = default;

int TextRenderer::Measure(const std::string& text, int pixelSize) {
    state->SetSize(pixelSize);
    long advance = 0;
    for (unsigned char c : text) {
        if (FT_Load_Char(state->face, c, FT_LOAD_DEFAULT) != 0) continue;
        advance += state->face->glyph->advance.x;
    }
    return static_cast<int>(advance >> 6);
}

int TextRenderer::Draw(Frame& frame, int x, int baseline, int pixelSize, const std::string& text,
                       uint32_t colour) {
    state->SetSize(pixelSize);
    const int red = (colour >> 16) & 0xFF, green = (colour >> 8) & 0xFF, blue = colour & 0xFF;
    long penX = static_cast<long>(x) << 6;
    for (unsigned char c : text) {
        if (FT_Load_Char(state->face, c, FT_LOAD_RENDER) != 0) continue;
        FT_GlyphSlot glyph = state->face->glyph;
        const FT_Bitmap& bitmap = glyph->bitmap;
        int left = static_cast<int>(penX >> 6) + glyph->bitmap_left;
        int top = baseline - glyph->bitmap_top;
        for (unsigned row = 0; row < bitmap.rows; ++row) {
            int y = top + static_cast<int>(row);
            if (y < 0 || y >= frame.height) continue;
            const unsigned char* coverage = bitmap.buffer + static_cast<long>(row) * bitmap.pitch;
            uint8_t* line = frame.Row(y);
            for (unsigned column = 0; column < bitmap.width; ++column) {
                int px = left + static_cast<int>(column);
                if (px < 0 || px >= frame.width) continue;
                int a = coverage[column];
                if (a == 0) continue;
                uint8_t* p = line + px * 4;
                p[0] = static_cast<uint8_t>((blue * a + p[0] * (255 - a) + 127) / 255);
                p[1] = static_cast<uint8_t>((green * a + p[1] * (255 - a) + 127) / 255);
                p[2] = static_cast<uint8_t>((red * a + p[2] * (255 - a) + 127) / 255);
                p[3] = static_cast<uint8_t>(std::max<int>(p[3], a));
            }
        }
        penX += glyph->advance.x;
    }
    return static_cast<int>(penX >> 6);
}

}  // namespace halcyra::host
