// Road Sign, Wedding and Star: the layout of the four built-in pictures, the
// overlay rule, the sweep against a plain line-by-line walk of it (reader
// skips, band edges, the sign's state along a row, the ribbon's mask, the
// star's middle row), the ends of the transition, field frames, larger
// outputs, and regression checksums.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "TestHost.h"
#include "effects/Overlay.h"
#include "picture/kernels/Numerics.h"
#include "picture/kernels/Resize.h"

namespace halcyra {
namespace {

using test::GuardedFrame;
using test::TestHost;

enum class Kind { Sign, Ribbon, Star };

struct View {
    const uint8_t* pixels;
    int32_t width, height, bytes;
    const uint8_t* At(int32_t x, int32_t y) const {
        return pixels + (static_cast<size_t>(y) * width + x) * bytes;
    }
};

View ViewOf(OverlayBitmap bitmap) {
    return {static_cast<const uint8_t*>(bitmap.pixels), bitmap.header->width, bitmap.header->height,
            bitmap.header->bitCount / 8};
}

TEST(OverlayBitmaps, HeadersGiveTheSizesAndFormats) {
    struct Expected {
        OverlayBitmap bitmap;
        int32_t width, height, bits;
        uint32_t size;
    };
    const Expected rows[] = {{SignBitmap(), 383, 768, 32, 40},
                             {RibbonBitmap(), 968, 188, 32, 40},
                             {RibbonMaskBitmap(), 968, 188, 8, 13},
                             {StarBitmap(), 305, 475, 32, 40}};
    for (const auto& row : rows) {
        EXPECT_EQ(row.bitmap.header->width, row.width);
        EXPECT_EQ(row.bitmap.header->height, row.height);
        EXPECT_EQ(row.bitmap.header->bitCount, row.bits);
        EXPECT_EQ(row.bitmap.header->compression, 0u);
        EXPECT_EQ(row.bitmap.header->size, row.size);
        Picture picture;
        picture.AttachBitmap(row.bitmap.header, row.bitmap.pixels);
        EXPECT_EQ(picture.pitch, row.width * row.bits / 8);  // no rounding to four bytes
    }
}

TEST(OverlayBitmaps, SignIsAPostInTheFirstRowsAndAPlateInTheLast) {
    const View sign = ViewOf(SignBitmap());
    for (int32_t y = 0; y < sign.height; ++y) {
        int32_t opaque = 0;
        for (int32_t x = 0; x < sign.width; ++x) {
            const uint8_t* p = sign.At(x, y);
            if (p[3] == 0) {
                ASSERT_TRUE(p[0] == 255 && p[1] == 255 && p[2] == 255) << x << "," << y;
            }
            if (p[3] >= 251) ++opaque;
        }
        // Every row holds some of the sign, so a row never leaves its state at the start.
        ASSERT_GT(opaque, 0) << y;
        if (y < sign.height / 2) {
            ASSERT_LT(opaque, sign.width / 8) << y;
        }
        if (y >= sign.height - 100) {
            ASSERT_GT(opaque, sign.width * 3 / 4) << y;
        }
    }
}

TEST(OverlayBitmaps, RibbonIsPremultipliedAndItsMaskAnArch) {
    const View ribbon = ViewOf(RibbonBitmap());
    int32_t covered = 0;
    for (int32_t y = 0; y < ribbon.height; ++y)
        for (int32_t x = 0; x < ribbon.width; ++x) {
            const uint8_t* p = ribbon.At(x, y);
            ASSERT_LE(std::max({p[0], p[1], p[2]}), p[3]) << x << "," << y;
            if (p[3] >= 4) ++covered;
        }
    EXPECT_GT(covered, ribbon.width * 10);  // ornament across the width
    const View mask = ViewOf(RibbonMaskBitmap());
    for (int32_t x = 0; x < mask.width; ++x) {
        for (int32_t y = 0; y < mask.height / 3; ++y) ASSERT_EQ(*mask.At(x, y), 0) << x << "," << y;
        EXPECT_GE(*mask.At(x, mask.height - 1), 128) << x;
        // Down each column the mask, once at 128, stays there.
        bool reached = false;
        for (int32_t y = 0; y < mask.height; ++y) {
            if (*mask.At(x, y) >= 128) reached = true;
            ASSERT_TRUE(!reached || *mask.At(x, y) >= 128) << x << "," << y;
        }
    }
    // Low at the middle, reaching the last rows at the ends.
    auto firstSet = [&](int32_t x) {
        int32_t y = 0;
        while (*mask.At(x, y) < 128) ++y;
        return y;
    };
    EXPECT_LT(firstSet(mask.width / 2), 70);
    EXPECT_GT(firstSet(0), 170);
    EXPECT_GT(firstSet(mask.width - 1), 170);
}

TEST(OverlayBitmaps, StarIsSymmetricAndFillsTheHeight) {
    const View star = ViewOf(StarBitmap());
    for (int32_t y = 0; y < star.height; ++y)
        for (int32_t x = 0; x < star.width; ++x) {
            ASSERT_EQ(star.At(x, y)[3], star.At(star.width - 1 - x, y)[3]) << x << "," << y;
            ASSERT_EQ(star.At(x, y)[3], star.At(x, star.height - 1 - y)[3]) << x << "," << y;
        }
    EXPECT_GE(star.At(star.width / 2, 16)[3], 251);
    EXPECT_GE(star.At(star.width / 2, 0)[3], 4);  // its glow reaches the first row
    // The middle row, where the clips change over, is covered nearly to the sides.
    for (int32_t x = 12; x < star.width - 12; ++x) ASSERT_GE(star.At(x, star.height / 2)[3], 251) << x;
}

TEST(OverlayPixel, ThresholdsAndBothColourForms) {
    const uint8_t bg[4] = {200, 100, 0, 40};
    uint8_t out[4];
    const uint8_t faint[4] = {9, 9, 9, 3};
    KernelOverlayPixel(bg, faint, out, false);
    EXPECT_EQ(std::vector<uint8_t>(out, out + 4), std::vector<uint8_t>(bg, bg + 4));
    const uint8_t solid[4] = {1, 2, 3, 251};
    KernelOverlayPixel(bg, solid, out, true);
    EXPECT_EQ(std::vector<uint8_t>(out, out + 4), std::vector<uint8_t>(solid, solid + 4));
    const uint8_t half[4] = {100, 50, 250, 128};
    KernelOverlayPixel(bg, half, out, false);
    EXPECT_EQ(out[0], (200 * 127 + 128 * 100) >> 8);
    EXPECT_EQ(out[2], (0 * 127 + 128 * 250) >> 8);
    EXPECT_EQ(out[3], (40 * 127 + 128 * 255) >> 8);
    // Premultiplied: added without a factor, kept to 8 bits.
    KernelOverlayPixel(bg, half, out, true);
    EXPECT_EQ(out[0], ((200 * 127) >> 8) + 100);
    EXPECT_EQ(out[2], 250);
    EXPECT_EQ(out[3], (40 * 127 + 128 * 255) >> 8);
    const uint8_t bright[4] = {255, 255, 255, 200};
    const uint8_t white[4] = {255, 255, 255, 255};
    KernelOverlayPixel(white, bright, out, true);
    EXPECT_EQ(out[0], static_cast<uint8_t>(((255 * 55) >> 8) + 255));
}

// ---- The sweep, walked line by line as the steps tell it ----

struct SweepCase {
    Kind kind = Kind::Sign;
    int32_t width = 64, height = 48;
    double progress = 0.5;
    bool reverse = false;
    int16_t fieldMode = 3;
};

OverlayBitmap BitmapOf(Kind kind) {
    return kind == Kind::Sign ? SignBitmap() : (kind == Kind::Ribbon ? RibbonBitmap() : StarBitmap());
}

// The expected output for frames of one size: C0 is `second`, C1 is `first`.
std::vector<uint8_t> Walk(const SweepCase& s, const std::vector<uint8_t>& first,
                          const std::vector<uint8_t>& second) {
    const int32_t W = s.width, H = s.height;
    const OverlayBitmap bitmap = BitmapOf(s.kind);
    const int32_t bw = bitmap.header->width, bh = bitmap.header->height;
    float p = std::clamp(static_cast<float>(s.progress), 0.0f, 1.0f);
    int32_t o;
    double xf, yf;
    if (s.kind == Kind::Sign) {
        o = TruncToInt32(static_cast<double>(bw) / bh * H);
        xf = yf = (o + 1.0) / bw;
        if (s.fieldMode != 3) {
            xf *= 2.0;
            o <<= 1;
        }
    } else {
        o = TruncToInt32(static_cast<double>(bh) / bw * W);
        xf = yf = (o + 1.0) / bh;
        if (s.fieldMode != 3) {
            yf /= 2.0;
            o /= 2;
        }
    }
    if (s.reverse) p = 1.0f - p;
    const std::vector<uint8_t>& a = s.reverse ? first : second;
    const std::vector<uint8_t>& b = s.reverse ? second : first;
    const int32_t ow = s.kind == Kind::Sign ? o : W, oh = s.kind == Kind::Sign ? H : o;
    std::vector<uint8_t> overlay(static_cast<size_t>(ow) * oh * 4, 0), mask(static_cast<size_t>(ow) * oh, 0);
    KernelResize4(static_cast<const uint8_t*>(bitmap.pixels), {bw, bh}, bw * 4, {0, 0, bw, bh},
                  overlay.data(), ow * 4, {ow, oh}, xf, yf, s.kind == Kind::Star ? 4 : 2);
    if (s.kind == Kind::Ribbon)
        KernelResize1(static_cast<const uint8_t*>(RibbonMaskBitmap().pixels), {bw, bh}, bw, {0, 0, bw, bh},
                      mask.data(), ow, {ow, oh}, xf, yf, 1);
    const int32_t span = s.kind == Kind::Sign ? o + W : o + H;
    const int32_t lead = TruncToInt32(p * static_cast<float>(span)) - o;
    const int32_t trail = lead + o;
    std::vector<uint8_t> out(static_cast<size_t>(W) * H * 4);
    auto pixel = [&](const std::vector<uint8_t>& frame, int32_t x, int32_t y) {
        return frame.data() + (static_cast<size_t>(y) * W + x) * 4;
    };
    auto target = [&](int32_t x, int32_t y) { return out.data() + (static_cast<size_t>(y) * W + x) * 4; };
    const uint8_t transparent[4] = {0, 0, 0, 0};
    if (s.kind == Kind::Sign) {
        for (int32_t y = 0; y < H; ++y) {
            int32_t reader = 0, state = 0;
            auto see = [&](const uint8_t* px) {
                if (state == 0 && px[3] >= 251)
                    state = 1;
                else if (state == 1 && px[3] < 4)
                    state = 2;
            };
            // Past the end of O's row the reader sees nothing.
            auto read = [&]() {
                return reader < o ? &overlay[(static_cast<size_t>(y) * o + reader) * 4] : transparent;
            };
            for (int32_t i = 0; i < -lead; ++i, ++reader) see(read());
            for (int32_t i = 0; i < W; ++i) {
                uint8_t* d = target(i, y);
                if (i < lead) {
                    std::copy_n(pixel(a, i, y), 4, d);
                } else if (i > trail) {
                    std::copy_n(pixel(b, i, y), 4, d);
                } else {
                    const uint8_t* px = read();
                    ++reader;
                    see(px);
                    if (state == 2)
                        std::copy_n(pixel(b, i, y), 4, d);
                    else
                        KernelOverlayPixel(state == 0 ? pixel(a, i, y) : pixel(b, i, y), px, d, false);
                }
            }
        }
        return out;
    }
    const int32_t middle = lead + TruncToInt32(0.5f * static_cast<float>(o));
    for (int32_t x = 0; x < W; ++x) {
        int32_t reader = lead < 0 ? -lead : 0;
        for (int32_t i = 0; i < H; ++i) {
            uint8_t* d = target(x, i);
            if (i <= lead) {
                std::copy_n(pixel(a, x, i), 4, d);
            } else if (i >= trail) {
                std::copy_n(pixel(b, x, i), 4, d);
            } else {
                const uint8_t* px = &overlay[(static_cast<size_t>(reader) * W + x) * 4];
                const bool second =
                    s.kind == Kind::Ribbon ? mask[static_cast<size_t>(reader) * W + x] >= 128 : i >= middle;
                KernelOverlayPixel(second ? pixel(b, x, i) : pixel(a, x, i), px, d, s.kind == Kind::Ribbon);
                ++reader;
            }
        }
    }
    return out;
}

VideoEffectBase* Create(Kind kind) {
    if (kind == Kind::Sign) return new CWipe();
    if (kind == Kind::Ribbon) return new CWedding();
    return new CStar();
}

struct Rendered {
    std::vector<uint8_t> pixels, first, second;
    uint32_t crc;
};

Rendered Render(const SweepCase& s, float ignored = 0.34f) {
    VideoEffectBase* effect = Create(s.kind);
    TestHost host;
    host.UseDefaults(effect);
    host.values[0].flag = s.reverse ? 1 : 0;
    if (s.kind == Kind::Star) host.values[1].number = ignored;
    GuardedFrame first(s.width, s.height, 8), second(s.width, s.height), out(s.width, s.height, 4);
    first.FillPattern(11);
    second.FillPattern(12);
    out.Fill(0x3c);
    RenderInfo info = test::MakeRenderInfo(s.progress);
    info.fieldMode = s.fieldMode;
    EXPECT_TRUE(effect->Render(&host, &first.desc, &second.desc, &out.desc, &info));
    EXPECT_TRUE(out.GuardsIntact());
    effect->Release();
    return {out.Pixels(), first.Pixels(), second.Pixels(), out.Crc()};
}

TEST(OverlaySweep, MatchesTheLineByLineWalk) {
    for (Kind kind : {Kind::Sign, Kind::Ribbon, Kind::Star})
        for (double progress : {0.0, 0.02, 0.3, 0.5, 0.77, 0.98, 1.0})
            for (bool reverse : {false, true})
                for (int16_t fieldMode : {int16_t{3}, int16_t{0}})
                    for (auto [w, h] : {std::pair{64, 48}, std::pair{37, 90}, std::pair{150, 21}}) {
                        SweepCase s{kind, w, h, progress, reverse, fieldMode};
                        SCOPED_TRACE(testing::Message()
                                     << static_cast<int>(kind) << " p=" << progress << " rev=" << reverse
                                     << " field=" << fieldMode << " " << w << "x" << h);
                        const Rendered r = Render(s);
                        ASSERT_EQ(r.pixels, Walk(s, r.first, r.second));
                    }
}

TEST(OverlaySweep, TheFirstClipAtTheStartAndTheSecondAtTheEnd) {
    for (Kind kind : {Kind::Sign, Kind::Ribbon, Kind::Star})
        for (bool reverse : {false, true}) {
            SCOPED_TRACE(testing::Message() << static_cast<int>(kind) << " rev=" << reverse);
            SweepCase s{kind, 96, 54, 0.0, reverse, 3};
            // The sign's band still holds column 0 at the start, which shows the
            // first clip only where the row of O has an opaque pixel: true at this
            // size, not on frames so low that a row of O misses the post (the
            // steps hold there; the walk above covers them).
            EXPECT_EQ(Render(s).pixels, Render(s).first);
            s.progress = 1.0;
            const Rendered end = Render(s);
            EXPECT_EQ(end.pixels, end.second);
            s.progress = -3.0;  // clamped
            EXPECT_EQ(Render(s).pixels, Render(s).first);
        }
}

TEST(OverlaySweep, FieldFramesKeepTheOverlayShape) {
    // On a field frame the sign's band is twice as wide and the star's half as high:
    // count the changed pixels of the middle row or column against the full-height frame.
    auto bandLength = [](Kind kind, int16_t fieldMode) {
        // The star is taller than a frame is wide: a tall, narrow frame holds all of it.
        SweepCase s{kind,     kind == Kind::Sign ? 120 : 40, kind == Kind::Sign ? 80 : 200, 0.5, false,
                    fieldMode};
        const Rendered r = Render(s);
        int32_t count = 0;
        for (int32_t i = 0; i < (kind == Kind::Sign ? s.width : s.height); ++i) {
            const size_t at = kind == Kind::Sign ? (static_cast<size_t>(s.height - 1) * s.width + i) * 4
                                                 : (static_cast<size_t>(i) * s.width + s.width / 2) * 4;
            if (!std::equal(&r.pixels[at], &r.pixels[at] + 4, &r.first[at]) &&
                !std::equal(&r.pixels[at], &r.pixels[at] + 4, &r.second[at]))
                ++count;
        }
        return count;
    };
    EXPECT_GT(bandLength(Kind::Sign, 0), bandLength(Kind::Sign, 3) * 3 / 2);
    EXPECT_LT(bandLength(Kind::Star, 0), bandLength(Kind::Star, 3) * 2 / 3);
}

TEST(OverlaySweep, StarIgnoresItsSecondValue) {
    const SweepCase s{Kind::Star, 50, 70, 0.4, false, 3};
    EXPECT_EQ(Render(s, 0.0f).pixels, Render(s, 1.0f).pixels);
}

TEST(OverlaySweep, LargerOutputKeepsItsPixelsOutsideTheOverlap) {
    for (Kind kind : {Kind::Sign, Kind::Ribbon, Kind::Star}) {
        VideoEffectBase* effect = Create(kind);
        TestHost host;
        host.UseDefaults(effect);
        host.offerAllocator = true;
        GuardedFrame first(30, 20), second(26, 24), out(40, 30);
        first.FillPattern(1);
        second.FillPattern(2);
        out.Fill(0x77);
        RenderInfo info = test::MakeRenderInfo(0.5);
        effect->Render(&host, &first.desc, &second.desc, &out.desc, &info);
        for (int32_t y = 0; y < 30; ++y)
            for (int32_t x = (y < 20 ? 26 : 0); x < 40; ++x)
                ASSERT_EQ(out.Pixel(x, y)[1], 0x77) << x << "," << y;
        EXPECT_TRUE(out.GuardsIntact());
        EXPECT_EQ(host.allocator.pictures, 0);
        effect->Release();
    }
}

TEST(OverlaySweep, NegativePitchTinyFramesAndHostileValues) {
    for (Kind kind : {Kind::Sign, Kind::Ribbon, Kind::Star}) {
        VideoEffectBase* effect = Create(kind);
        TestHost host;
        host.UseDefaults(effect);
        RenderInfo info = test::MakeRenderInfo(0.6);
        // The same memory described from its last row gives the same bytes.
        GuardedFrame first(45, 70, 4), second(45, 70), out(45, 70);
        GuardedFrame firstUp(45, 70, 4, true), secondUp(45, 70, 0, true), outUp(45, 70, 0, true);
        first.FillPattern(5);
        second.FillPattern(6);
        firstUp.block = first.block;
        secondUp.block = second.block;
        effect->Render(&host, &first.desc, &second.desc, &out.desc, &info);
        effect->Render(&host, &firstUp.desc, &secondUp.desc, &outUp.desc, &info);
        EXPECT_EQ(out.block, outUp.block);
        const std::pair<int32_t, int32_t> sizes[] = {{1, 1}, {2, 1}, {1, 3}, {5, 4}, {6, 2}, {0, 0}, {3, 0}};
        for (int16_t fieldMode : {int16_t{3}, int16_t{1}})
            for (double progress : {0.0, 0.5, 1.0, std::nan(""), 1e300})
                for (auto [w, h] : sizes) {
                    GuardedFrame a(w, h), b(w + 2, h + 5), o(w, h);
                    a.FillPattern(7);
                    b.FillPattern(8);
                    const auto before = b.block;
                    info = test::MakeRenderInfo(progress);
                    info.fieldMode = fieldMode;
                    EXPECT_TRUE(effect->Render(&host, &a.desc, &b.desc, &o.desc, &info));
                    EXPECT_TRUE(o.GuardsIntact()) << w << "x" << h;
                    EXPECT_EQ(b.block, before);
                }
        effect->Release();
    }
}

TEST(OverlaySweep, RegressionChecksums) {
    struct Case {
        Kind kind;
        double progress;
        bool reverse;
        uint32_t crc;
    };
    const Case cases[] = {
        {Kind::Sign, 0.25, false, 3825210781u},  {Kind::Sign, 0.5, false, 3096323564u},
        {Kind::Sign, 0.8, true, 1057830314u},    {Kind::Ribbon, 0.25, false, 2751019069u},
        {Kind::Ribbon, 0.5, false, 4168298392u}, {Kind::Ribbon, 0.8, true, 3832497875u},
        {Kind::Star, 0.25, false, 1955116170u},  {Kind::Star, 0.5, false, 1997128680u},
        {Kind::Star, 0.8, true, 140052751u},
    };
    for (const Case& c : cases) {
        const SweepCase s{c.kind, 160, 90, c.progress, c.reverse, 3};
        EXPECT_EQ(Render(s).crc, c.crc) << static_cast<int>(c.kind) << " p=" << c.progress;
    }
}

}  // namespace
}  // namespace halcyra
