// PictureTransform and the geometry operations on pictures: each checks the
// pictures, reduces them to their overlap and hands the pixels to one kernel.
#include "picture/PictureGeometry.h"

#include <algorithm>
#include <cmath>

#include "picture/kernels/Kernels.h"
#include "picture/kernels/Warp.h"

namespace halcyra {

PictureTransform::PictureTransform() : matrix{{1.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f}, {0.0f, 0.0f, 1.0f}} {}

void PictureTransform::PostMultiply(const float t[3][3]) {
    float product[3][3];
    for (int32_t i = 0; i < 3; ++i) {
        for (int32_t j = 0; j < 3; ++j) {
            float sum = 0.0f;
            for (int32_t k = 0; k < 3; ++k) sum += matrix[i][k] * t[k][j];
            product[i][j] = sum;
        }
    }
    std::copy(&product[0][0], &product[0][0] + 9, &matrix[0][0]);
}

void PictureTransform::Scale(float s) {
    const float t[3][3] = {{s, 0.0f, 0.0f}, {0.0f, s, 0.0f}, {0.0f, 0.0f, 1.0f}};
    PostMultiply(t);
}

void PictureTransform::Rotate(float angle) {
    const float c = std::cos(angle);
    const float s = std::sin(angle);
    const float t[3][3] = {{c, s, 0.0f}, {-s, c, 0.0f}, {0.0f, 0.0f, 1.0f}};
    PostMultiply(t);
}

void PictureTransform::Shear(float a, float b) {
    const float t[3][3] = {{1.0f, b, 0.0f}, {a, 1.0f, 0.0f}, {0.0f, 0.0f, 1.0f}};
    PostMultiply(t);
}

void PictureTransform::Translate(float tx, float ty) {
    const float t[3][3] = {{1.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f}, {tx, ty, 1.0f}};
    PostMultiply(t);
}

bool PictureTransform::Warp(const Picture& source, Picture& destination) const {
    if (source.data == nullptr || destination.data == nullptr || source.data == destination.data ||
        source.bytesPerPixel != 4 || destination.bytesPerPixel != 4)
        return false;
    const int32_t width = std::min(source.width, destination.width);
    const int32_t height = std::min(source.height, destination.height);
    const double coefficients[6] = {matrix[0][0], matrix[1][0], matrix[2][0],
                                    matrix[0][1], matrix[1][1], matrix[2][1]};
    return KernelWarpAffine(source.data, {width, height}, source.pitch, {0, 0, width, height},
                            destination.data, destination.pitch, {0, 0, width, height}, coefficients,
                            kInterpolationBilinear) == kStatusOk;
}

namespace PictureOps {

bool CopyPictureRect(const Picture& source, int32_t sx, int32_t sy, int32_t width, int32_t height,
                     Picture& destination, int32_t dx, int32_t dy) {
    if (source.data == nullptr || destination.data == nullptr || source.bytesPerPixel != 4 ||
        destination.bytesPerPixel != 4 || sx < 0 || sy < 0 || dx < 0 || dy < 0)
        return false;
    const int64_t w = std::min({static_cast<int64_t>(width), static_cast<int64_t>(source.width) - sx,
                                static_cast<int64_t>(destination.width) - dx});
    const int64_t h = std::min({static_cast<int64_t>(height), static_cast<int64_t>(source.height) - sy,
                                static_cast<int64_t>(destination.height) - dy});
    if (w <= 0 || h <= 0) return false;
    return KernelCopy4(source.PixelAddress(sx, sy), source.pitch, destination.PixelAddress(dx, dy),
                       destination.pitch, {static_cast<int32_t>(w), static_cast<int32_t>(h)}) == kStatusOk;
}

bool FillPicture(Picture& picture, uint32_t value) {
    const KernelSize size{picture.width, picture.height};
    if (picture.bytesPerPixel == 4) {
        const uint8_t bytes[4] = {static_cast<uint8_t>(value), static_cast<uint8_t>(value >> 8),
                                  static_cast<uint8_t>(value >> 16), static_cast<uint8_t>(value >> 24)};
        return KernelSet4(bytes, picture.data, picture.pitch, size) == kStatusOk;
    }
    if (picture.bytesPerPixel == 1)
        return KernelSet1(static_cast<uint8_t>(value), picture.data, picture.pitch, size) == kStatusOk;
    return false;
}

bool ReplicatePictureBorder(const Picture& source, Picture& destination, int32_t a, int32_t b) {
    if (source.data == nullptr || destination.data == nullptr || a < 0 || b < 0) return false;
    const int32_t bytesPerPixel = source.bytesPerPixel;
    if (bytesPerPixel != destination.bytesPerPixel || (bytesPerPixel != 4 && bytesPerPixel != 1))
        return false;
    const int64_t interiorWidth = static_cast<int64_t>(source.width) - 2 * static_cast<int64_t>(a);
    const int64_t interiorHeight = static_cast<int64_t>(source.height) - 2 * static_cast<int64_t>(b);
    if (interiorWidth <= 0 || interiorHeight <= 0) return false;
    const KernelSize interior{static_cast<int32_t>(interiorWidth), static_cast<int32_t>(interiorHeight)};
    const KernelSize whole{destination.width, destination.height};
    const uint8_t* start = source.PixelAddress(a, b);
    const int32_t status = bytesPerPixel == 4
                               ? KernelReplicate4(start, source.pitch, interior, destination.data,
                                                  destination.pitch, whole, a, b)
                               : KernelReplicate1(start, source.pitch, interior, destination.data,
                                                  destination.pitch, whole, a, b);
    return status == kStatusOk;
}

}  // namespace PictureOps
}  // namespace halcyra
