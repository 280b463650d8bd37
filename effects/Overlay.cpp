// Road Sign, Wedding and Star: the overlay scaled to the frame once per frame,
// then one pass over the frame in which every line is the first clip before
// the overlay, the second after it, and the overlay rule inside it. The lines
// are rows for the sign and columns for the other two; since the band sits at
// the same place on every column, those two run row by row and copy whole
// rows of a clip outside the band.
#include "effects/Overlay.h"

#include <algorithm>
#include <cstring>

#include "effects/art/OverlayArt.h"
#include "frame/ActivationManager.h"
#include "picture/MemoryAllocator.h"
#include "picture/PictureGeometry.h"
#include "picture/kernels/Kernels.h"
#include "picture/kernels/Numerics.h"
#include "picture/kernels/Resize.h"
#include "picture/kernels/Warp.h"

namespace halcyra {

OverlayBitmap SignBitmap() {
    return {&art::kSignHeader, art::kSignPixels};
}
OverlayBitmap RibbonBitmap() {
    return {&art::kRibbonHeader, art::kRibbonPixels};
}
OverlayBitmap RibbonMaskBitmap() {
    return {&art::kRibbonMaskHeader, art::kRibbonMaskPixels};
}
OverlayBitmap StarBitmap() {
    return {&art::kStarHeader, art::kStarPixels};
}

namespace {

constexpr ParameterDesc kReverseParameters[] = {BoolParam("Reverse", false)};
// The star's list has no names; its second value is read and not used.
constexpr ParameterDesc kStarParameters[] = {BoolParam("", false), FloatParam("", 0.34f)};
const EffectDescriptor kWipeDescriptor{"Corvane Road Sign", 2, kReverseParameters};
const EffectDescriptor kWeddingDescriptor{"Corvane Wedding", 2, kReverseParameters};
const EffectDescriptor kStarDescriptor{"Corvane Star", 2, kStarParameters};

enum class OverlayKind { Sign, Ribbon, Star };

struct OverlayStyle {
    OverlayKind kind;
    OverlayBitmap (*bitmap)();
    uint32_t interpolation;
    bool sideways;       // the sign sweeps along rows, the others down the columns
    bool premultiplied;  // the ribbon's colour is already weighted by its alpha
};

constexpr OverlayStyle kSignStyle{OverlayKind::Sign, SignBitmap, kInterpolationBilinear, true, false};
constexpr OverlayStyle kRibbonStyle{OverlayKind::Ribbon, RibbonBitmap, kInterpolationBilinear, false, true};
constexpr OverlayStyle kStarStyle{OverlayKind::Star, StarBitmap, kInterpolationCubic, false, false};

// Which clip shows under the sign, carried along a row: the first clip until
// an opaque pixel has passed, then the second, and only the second once a
// transparent pixel has followed.
enum SignState { kBeforeSign, kOnSign, kAfterSign };

inline SignState NextSignState(SignState state, uint8_t alpha) {
    if (state == kBeforeSign && alpha >= 251) return kOnSign;
    if (state == kOnSign && alpha < 4) return kAfterSign;
    return state;
}

void CopyPixels(const uint8_t* source, uint8_t* destination, int64_t count) {
    if (count > 0 && source != destination) std::memmove(destination, source, static_cast<size_t>(count) * 4);
}

// The sign crosses each row from its start to its end. The band runs from
// lead to trail, both included, so it is one pixel wider than O: O carries a
// transparent column past its end for that pixel.
void SweepSign(const Picture& a, const Picture& b, Picture& output, const Picture& overlay, int32_t width,
               int32_t height, int32_t lead, int32_t trail, int32_t extent) {
    const int64_t first = std::clamp<int64_t>(lead, 0, width);
    const int64_t bandEnd = std::clamp<int64_t>(static_cast<int64_t>(trail) + 1, first, width);
    const int64_t skipped = lead < 0 ? std::min<int64_t>(-static_cast<int64_t>(lead), extent) : 0;
    for (int32_t y = 0; y < height; ++y) {
        const uint8_t* rowA = a.Row(y);
        const uint8_t* rowB = b.Row(y);
        const uint8_t* rowO = overlay.Row(y);
        uint8_t* out = output.Row(y);
        SignState state = kBeforeSign;
        for (int64_t k = 0; k < skipped; ++k) state = NextSignState(state, rowO[k * 4 + 3]);
        CopyPixels(rowA, out, first);
        for (int64_t i = first; i < bandEnd; ++i) {
            const uint8_t* o = rowO + (i - lead) * 4;
            state = NextSignState(state, o[3]);
            const uint8_t* bg = (state == kBeforeSign ? rowA : rowB) + i * 4;
            if (state == kAfterSign)
                std::memcpy(out + i * 4, bg, 4);
            else
                KernelOverlayPixel(bg, o, out + i * 4, false);
        }
        CopyPixels(rowB + bandEnd * 4, out + bandEnd * 4, width - bandEnd);
    }
}

// The ribbon and the star cross each column from its start to its end; rows
// at most lead are the first clip, rows from trail on the second. On entering
// the band the reader of O skips -lead rows when lead is negative, and starts
// at O's first row otherwise.
void SweepDown(const OverlayStyle& style, const Picture& a, const Picture& b, Picture& output,
               const Picture& overlay, const Picture& mask, int32_t width, int32_t height, int32_t lead,
               int32_t trail, int32_t extent) {
    // The star shows the first clip above its middle row and the second below.
    const int32_t middle = WrapAdd(lead, TruncToInt32(0.5f * static_cast<float>(extent)));
    for (int32_t y = 0; y < height; ++y) {
        uint8_t* out = output.Row(y);
        if (y <= lead) {
            CopyPixels(a.Row(y), out, width);
            continue;
        }
        if (y >= trail) {
            CopyPixels(b.Row(y), out, width);
            continue;
        }
        const int64_t k = static_cast<int64_t>(y) - lead - (lead >= 0 ? 1 : 0);
        if (k < 0 || k >= extent) continue;  // only where lead and trail wrapped around
        const uint8_t* rowO = overlay.Row(static_cast<int32_t>(k));
        if (style.kind == OverlayKind::Ribbon) {
            const uint8_t* rowM = mask.Row(static_cast<int32_t>(k));
            const uint8_t* rowA = a.Row(y);
            const uint8_t* rowB = b.Row(y);
            for (int32_t x = 0; x < width; ++x)
                KernelOverlayPixel((rowM[x] < 128 ? rowA : rowB) + x * 4, rowO + x * 4, out + x * 4, true);
        } else {
            const uint8_t* rowBg = y < middle ? a.Row(y) : b.Row(y);
            for (int32_t x = 0; x < width; ++x)
                KernelOverlayPixel(rowBg + x * 4, rowO + x * 4, out + x * 4, false);
        }
    }
}

void RenderOverlay(const OverlayStyle& style, IVideoHost* host, ImageDesc* first, ImageDesc* second,
                   ImageDesc* output, RenderInfo* info) {
    MemoryAllocator allocator(host);
    float p = ClampProgress(info);
    ParameterReader read(host);
    const bool reverse = read.Bool(0);
    if (style.kind == OverlayKind::Star) read.Float(1);  // read, and 0.5 used in its place
    const int16_t fieldMode = info != nullptr ? info->fieldMode : 3;

    // The second clip is C0 and the first C1, the other way round from the
    // other effects; both the sweep and the clip choice are built on that.
    RenderFrames frames(second, first, output, 2);
    Picture bitmap;
    bitmap.AttachBitmap(style.bitmap().header, style.bitmap().pixels);
    const BitmapInfoHeader& header = *style.bitmap().header;
    Picture overlay;
    Picture mask;
    if (frames.usable && header.compression == 0 && header.bitCount == 32) {
        const int32_t width = frames.width;
        const int32_t height = frames.height;
        const double bw = static_cast<double>(bitmap.width);
        const double bh = static_cast<double>(bitmap.height);
        // o is the overlay's extent along the sweep; it keeps the bitmap's
        // shape across the frame. A frame of one field keeps the shape on
        // half the height.
        int32_t extent;
        double xFactor, yFactor;
        if (style.sideways) {
            extent = TruncToInt32(bw / bh * static_cast<double>(height));
            const double f = static_cast<double>(extent + 1) / bw;
            xFactor = yFactor = f;
            if (fieldMode != 3) {
                xFactor = f * 2.0;
                extent = extent <= INT32_MAX / 4 ? extent << 1 : -1;
            }
        } else {
            extent = TruncToInt32(bh / bw * static_cast<double>(width));
            const double f = static_cast<double>(extent + 1) / bh;
            xFactor = yFactor = f;
            if (fieldMode != 3) {
                yFactor = f / 2.0;
                extent = extent / 2;
            }
        }
        if (reverse) p = 1.0f - p;
        const Picture& a = reverse ? frames.inputs[1] : frames.inputs[0];
        const Picture& b = reverse ? frames.inputs[0] : frames.inputs[1];

        const float span =
            static_cast<float>(static_cast<int64_t>(extent) + (style.sideways ? width : height));
        const int32_t lead = WrapSub(TruncToInt32(p * span), extent);
        const int32_t trail = WrapAdd(lead, extent);

        // Without O (or M), as after any failed allocation, the frame stays as it was.
        const KernelSize overlaySize =
            style.sideways ? KernelSize{extent, height} : KernelSize{width, extent};
        bool ready = extent >= 1 && overlay.Allocate(overlaySize.width + (style.sideways ? 1 : 0),
                                                     overlaySize.height, 4, &allocator);
        // A row of the resized overlay depends only on its own index, so only
        // the rows the band reads are resized: those before the first one
        // (the -lead rows skipped on entering the band) and past the last one
        // are left out. The star's overlay is much taller than the frame.
        KernelSize resized = overlaySize;
        int32_t firstRow = 0;
        if (!style.sideways) {
            const int64_t rows = std::min<int64_t>(trail, height) - lead - (lead >= 0 ? 1 : 0);
            resized.height = static_cast<int32_t>(std::clamp<int64_t>(rows, 0, extent));
            firstRow =
                static_cast<int32_t>(std::clamp<int64_t>(-static_cast<int64_t>(lead), 0, resized.height));
        }
        if (ready) {
            // The sign reads all of O, its extra column included. Down the
            // frame only the rows the band reads are looked at, so only they
            // need the clear.
            if (style.sideways) {
                PictureOps::FillPicture(overlay, 0);
            } else if (resized.height > firstRow) {
                const uint8_t zero[4] = {};
                KernelSet4(zero, overlay.Row(firstRow), overlay.pitch,
                           {overlay.width, resized.height - firstRow});
            }
            if (resized.height > 0)
                KernelResize4FromRow(bitmap.data, {bitmap.width, bitmap.height}, bitmap.pitch,
                                     {0, 0, bitmap.width, bitmap.height}, overlay.data, overlay.pitch,
                                     resized, xFactor, yFactor, style.interpolation, firstRow);
        }
        if (ready && style.kind == OverlayKind::Ribbon) {
            // Twice as high as O, and only its first O-high rows are written
            // and read.
            Picture maskBitmap;
            maskBitmap.AttachBitmap(RibbonMaskBitmap().header, RibbonMaskBitmap().pixels);
            ready = mask.Allocate(width, extent <= INT32_MAX / 2 ? extent * 2 : extent, 1, &allocator);
            if (ready && resized.height > 0)
                KernelResize1(maskBitmap.data, {maskBitmap.width, maskBitmap.height}, maskBitmap.pitch,
                              {0, 0, maskBitmap.width, maskBitmap.height}, mask.data, mask.pitch, resized,
                              xFactor, yFactor, kInterpolationNearest);
        }
        if (ready) {
            if (style.sideways)
                SweepSign(a, b, frames.output, overlay, width, height, lead, trail, extent);
            else
                SweepDown(style, a, b, frames.output, overlay, mask, width, height, lead, trail, extent);
        }
    }
    HandToLicenceGate(host, output);
}

}  // namespace

CWipe::CWipe() : VideoEffectBase(kWipeDescriptor) {}
CWedding::CWedding() : VideoEffectBase(kWeddingDescriptor) {}
CStar::CStar() : VideoEffectBase(kStarDescriptor) {}

bool CWipe::Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                   RenderInfo* info) {
    RenderOverlay(kSignStyle, host, first, second, output, info);
    return true;
}

bool CWedding::Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                      RenderInfo* info) {
    RenderOverlay(kRibbonStyle, host, first, second, output, info);
    return true;
}

bool CStar::Render(IVideoHost* host, ImageDesc* first, ImageDesc* second, ImageDesc* output,
                   RenderInfo* info) {
    RenderOverlay(kStarStyle, host, first, second, output, info);
    return true;
}

}  // namespace halcyra
