#include "Platforms/FFmpeg/Clips/PictureConverter.h"

extern "C" {
#include <libavutil/frame.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}
#include <libyuv.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <vector>

namespace videoanalysis::media::ffmpeg {
namespace {

constexpr std::uint32_t opaqueBlack = 0xFF000000U;

/// Luma weights of red and blue, from the recommendations that define the colour matrices.
struct LumaWeights {
    double red;
    double blue;
};

LumaWeights lumaWeights(const AVFrame& picture) {
    switch (picture.colorspace) {
        case AVCOL_SPC_BT709: return {0.2126, 0.0722};
        case AVCOL_SPC_BT2020_NCL:
        case AVCOL_SPC_BT2020_CL: return {0.2627, 0.0593};
        case AVCOL_SPC_BT470BG:
        case AVCOL_SPC_SMPTE170M: return {0.299, 0.114};
        case AVCOL_SPC_FCC: return {0.30, 0.11};
        case AVCOL_SPC_SMPTE240M: return {0.212, 0.087};
        default: return picture.height >= 720 ? LumaWeights{0.2126, 0.0722} : LumaWeights{0.299, 0.114};
    }
}

bool isFullRange(const AVFrame& picture) {
    switch (picture.format) {
        case AV_PIX_FMT_YUVJ420P:
        case AV_PIX_FMT_YUVJ422P:
        case AV_PIX_FMT_YUVJ444P:
        case AV_PIX_FMT_YUVJ440P:
        case AV_PIX_FMT_YUVJ411P: return true;
        default: return picture.color_range == AVCOL_RANGE_JPEG;
    }
}

/// Factors for 16-bit multiplications that keep the upper half: luma is shifted to 15 bits, colour differences to 16 signed
/// bits, and the products are in 1/32 of an 8-bit step.
struct Coefficients {
    std::int16_t luma;
    std::int16_t lumaOffset;
    std::int16_t redFromV;
    std::int16_t greenFromU;
    std::int16_t greenFromV;
    std::int16_t blueFromU;
};

Coefficients coefficientsFor(const AVFrame& picture, int depth) {
    const auto [red, blue] = lumaWeights(picture);
    const double green = 1 - red - blue;
    const double steps = std::ldexp(1, depth - 8);  // steps of this depth in one 8-bit step
    const bool isFull = isFullRange(picture);
    const double lumaScale = isFull ? 255 / (256 * steps - 1) : 255 / (219 * steps);
    const double colorScale = isFull ? 255 / (256 * steps - 1) : 255 / (224 * steps);
    const double black = isFull ? 0 : 16 * steps;
    const auto fixed = [](double value) { return static_cast<std::int16_t>(std::lround(value)); };
    const double lumaUnit = std::ldexp(lumaScale, 6 + depth);
    const double colorUnit = std::ldexp(colorScale, 5 + depth);
    return {fixed(lumaUnit),
            fixed(-black * lumaScale * 32 + 16 + 1),  // half a step for rounding, 1 for the two truncations
            fixed(2 * (1 - red) * colorUnit),
            fixed(-2 * (1 - blue) * blue / green * colorUnit),
            fixed(-2 * (1 - red) * red / green * colorUnit),
            fixed(2 * (1 - blue) * colorUnit)};
}

std::int16_t upperHalf(std::int16_t a, std::int16_t b) {
    return static_cast<std::int16_t>((static_cast<std::int32_t>(a) * b) >> 16);
}

std::uint32_t toByte(int value) { return static_cast<std::uint32_t>(std::clamp(value >> 5, 0, 255)); }

/// Converts one row, in a loop that compilers vectorize.
template <class Sample>
void convertRow(const Sample* y, const Sample* u, const Sample* v, std::uint32_t* pixels, int width, int depth,
                const Coefficients& factors) {
    const Coefficients c = factors;
    const int lumaShift = 15 - depth;
    const int colorShift = 16 - depth;
    for (int x = 0; x < width; ++x) {
        const auto luma = static_cast<std::int16_t>(y[x] << lumaShift);
        const auto blueDifference = static_cast<std::int16_t>((u[x] << colorShift) - 32768);
        const auto redDifference = static_cast<std::int16_t>((v[x] << colorShift) - 32768);
        const auto base = static_cast<std::int16_t>(upperHalf(luma, c.luma) + c.lumaOffset);
        const auto red = static_cast<std::int16_t>(base + upperHalf(redDifference, c.redFromV));
        const auto green = static_cast<std::int16_t>(base + upperHalf(blueDifference, c.greenFromU) +
                                                     upperHalf(redDifference, c.greenFromV));
        const auto blue = static_cast<std::int16_t>(base + upperHalf(blueDifference, c.blueFromU));
        pixels[x] = opaqueBlack | toByte(red) << 16 | toByte(green) << 8 | toByte(blue);
    }
}

void scalePlane(const std::uint8_t* source, int bytesPerRow, int sourceWidth, int sourceHeight, std::uint8_t* target,
                int width, int height) {
    libyuv::ScalePlane(source, bytesPerRow, sourceWidth, sourceHeight, target, width, width, height,
                       libyuv::kFilterBox);
}

void scalePlane(const std::uint16_t* source, int bytesPerRow, int sourceWidth, int sourceHeight, std::uint16_t* target,
                int width, int height) {
    libyuv::ScalePlane_16(source, bytesPerRow / 2, sourceWidth, sourceHeight, target, width, width, height,
                          libyuv::kFilterBox);
}

/// Scales all three planes to the target size, then converts pixel by pixel: the cost depends on the target size only.
template <class Sample>
void convertPlanar(const AVFrame& picture, const AVPixFmtDescriptor& format, Bitmap& bitmap) {
    const int width = bitmap.width;
    const int height = bitmap.height;
    const std::size_t planeSize = bitmap.pixels.size();
    thread_local std::vector<Sample> scratch;
    scratch.resize(planeSize * 3);
    for (int plane = 0; plane < 3; ++plane) {
        const int shiftX = plane == 0 ? 0 : format.log2_chroma_w;
        const int shiftY = plane == 0 ? 0 : format.log2_chroma_h;
        scalePlane(reinterpret_cast<const Sample*>(picture.data[plane]), picture.linesize[plane],
                   AV_CEIL_RSHIFT(picture.width, shiftX), AV_CEIL_RSHIFT(picture.height, shiftY),
                   scratch.data() + planeSize * static_cast<std::size_t>(plane), width, height);
    }
    const int depth = format.comp[0].depth;
    const Coefficients factors = coefficientsFor(picture, depth);
    for (std::size_t row = 0; row < planeSize; row += static_cast<std::size_t>(width)) {
        convertRow(scratch.data() + row, scratch.data() + planeSize + row, scratch.data() + 2 * planeSize + row,
                   bitmap.pixels.data() + row, width, depth, factors);
    }
}

bool isPlanarYuv(const AVPixFmtDescriptor& format) {
    constexpr std::uint64_t otherKinds = AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL | AV_PIX_FMT_FLAG_BITSTREAM |
                                         AV_PIX_FMT_FLAG_HWACCEL | AV_PIX_FMT_FLAG_BE | AV_PIX_FMT_FLAG_BAYER |
                                         AV_PIX_FMT_FLAG_FLOAT;
    if ((format.flags & otherKinds) != 0 || (format.flags & AV_PIX_FMT_FLAG_PLANAR) == 0 || format.nb_components < 3) {
        return false;
    }
    for (int i = 0; i < 3; ++i) {
        const AVComponentDescriptor& component = format.comp[i];
        const int bytes = component.depth > 8 ? 2 : 1;
        if (component.plane != i || component.step != bytes || component.shift != 0 || component.depth < 8 ||
            component.depth > 14) {
            return false;
        }
    }
    return true;
}

/// Converts rare formats (packed, palette, grey, RGB) with the library's general converter.
void convertOther(const AVFrame& picture, Bitmap& bitmap) {
    const std::unique_ptr<SwsContext, decltype(&sws_freeContext)> scaler(
        sws_getContext(picture.width, picture.height, static_cast<AVPixelFormat>(picture.format), bitmap.width,
                       bitmap.height, AV_PIX_FMT_BGRA, SWS_BILINEAR | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT, nullptr,
                       nullptr, nullptr),
        &sws_freeContext);
    if (!scaler) return;
    const int matrix = picture.colorspace == AVCOL_SPC_UNSPECIFIED
                           ? (picture.height >= 720 ? SWS_CS_ITU709 : SWS_CS_ITU601)
                           : static_cast<int>(picture.colorspace);
    sws_setColorspaceDetails(scaler.get(), sws_getCoefficients(matrix), isFullRange(picture) ? 1 : 0,
                             sws_getCoefficients(SWS_CS_DEFAULT), 1, 0, 1 << 16, 1 << 16);
    std::uint8_t* const target[] = {reinterpret_cast<std::uint8_t*>(bitmap.pixels.data())};
    const int bytesPerRow[] = {static_cast<int>(bitmap.bytesPerRow())};
    sws_scale(scaler.get(), picture.data, picture.linesize, 0, picture.height, target, bytesPerRow);
    for (std::uint32_t& pixel : bitmap.pixels) pixel |= opaqueBlack;
}

Bitmap turned(const Bitmap& stored, Orientation orientation, int width, int height) {
    Bitmap upright(width, height, 1);
    auto* target = reinterpret_cast<std::uint8_t*>(upright.pixels.data());
    const auto targetRow = static_cast<int>(upright.bytesPerRow());
    libyuv::ARGBRotate(reinterpret_cast<const std::uint8_t*>(stored.pixels.data()),
                       static_cast<int>(stored.bytesPerRow()), target, targetRow, stored.width, stored.height,
                       static_cast<libyuv::RotationMode>(orientation.quarterTurns * 90));
    if (!orientation.isMirrored) return upright;
    for (int y = 0; y < height; ++y) {
        const auto row = upright.pixels.begin() + static_cast<std::ptrdiff_t>(y) * width;
        std::reverse(row, row + width);
    }
    return upright;
}

}  // namespace

Orientation Orientation::fromDisplayMatrix(const std::int32_t* matrix) {
    if (!matrix) return {};
    // The stored point (x, y) is displayed at (a x + c y, b x + d y).
    const std::int64_t a = matrix[0];
    const std::int64_t b = matrix[1];
    const std::int64_t c = matrix[3];
    const std::int64_t d = matrix[4];
    if (std::abs(a) + std::abs(d) >= std::abs(b) + std::abs(c)) {
        const bool isUpsideDown = d < 0;
        return {isUpsideDown ? 2 : 0, (a < 0) != isUpsideDown};
    }
    // The stored left edge is displayed on top (b > 0) or at the bottom, the stored top edge right (c < 0) or left.
    return b > 0 ? Orientation{1, c > 0} : Orientation{3, c < 0};
}

Bitmap convertPicture(const AVFrame& picture, Orientation orientation, int width, int height) {
    Bitmap bitmap = orientation.swapsSides() ? Bitmap(height, width, 1) : Bitmap(width, height, 1);
    const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(picture.format));
    if (format && isPlanarYuv(*format)) {
        if (format->comp[0].depth > 8) {
            convertPlanar<std::uint16_t>(picture, *format, bitmap);
        } else {
            convertPlanar<std::uint8_t>(picture, *format, bitmap);
        }
    } else {
        std::fill(bitmap.pixels.begin(), bitmap.pixels.end(), opaqueBlack);
        convertOther(picture, bitmap);
    }
    if (orientation == Orientation{}) return bitmap;
    return turned(bitmap, orientation, width, height);
}

}  // namespace videoanalysis::media::ffmpeg
