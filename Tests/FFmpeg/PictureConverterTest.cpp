// Conversion of decoded pictures to bitmaps: the colours of every matrix, range and depth, and every orientation.

#include "Platforms/FFmpeg/Clips/PictureConverter.h"
#include "Platforms/FFmpeg/LibraryHandles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <vector>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace videoanalysis::media::ffmpeg {
namespace {

FrameHandle makePicture(AVPixelFormat format, int width, int height) {
    FrameHandle picture(av_frame_alloc());
    picture->format = format;
    picture->width = width;
    picture->height = height;
    EXPECT_GE(av_frame_get_buffer(picture.get(), 0), 0);
    return picture;
}

void fillPlane(AVFrame& picture, int plane, int value) {
    const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(picture.format));
    const int height = plane == 0 ? picture.height : AV_CEIL_RSHIFT(picture.height, format->log2_chroma_h);
    for (int y = 0; y < height; ++y) {
        std::uint8_t* row = picture.data[plane] + static_cast<std::ptrdiff_t>(y) * picture.linesize[plane];
        if (format->comp[plane].depth > 8) {
            std::fill_n(reinterpret_cast<std::uint16_t*>(row), picture.linesize[plane] / 2,
                        static_cast<std::uint16_t>(value));
        } else {
            std::fill_n(row, picture.linesize[plane], static_cast<std::uint8_t>(value));
        }
    }
}

struct Matrix {
    AVColorSpace space;
    double red;
    double blue;
};

/// Red, green and blue (0...1) as stored samples, by the definition of the colour matrices.
std::array<int, 3> encode(const Matrix& matrix, bool isFull, int depth, const std::array<double, 3>& color) {
    const double luma = matrix.red * color[0] + (1 - matrix.red - matrix.blue) * color[1] + matrix.blue * color[2];
    const double u = (color[2] - luma) / (2 * (1 - matrix.blue));
    const double v = (color[0] - luma) / (2 * (1 - matrix.red));
    const double unit = std::ldexp(1, depth - 8);
    const double largest = std::ldexp(1, depth) - 1;
    const double middle = std::ldexp(1, depth - 1);
    const auto sample = [&](double value) { return static_cast<int>(std::clamp(std::round(value), 0.0, largest)); };
    if (isFull) return {sample(luma * largest), sample(u * largest + middle), sample(v * largest + middle)};
    return {sample((219 * luma + 16) * unit), sample(224 * u * unit + middle), sample(224 * v * unit + middle)};
}

/// The exact colour of stored samples, 0...255 each.
std::array<double, 3> decode(const Matrix& matrix, bool isFull, int depth, const std::array<int, 3>& samples) {
    const double unit = std::ldexp(1, depth - 8);
    const double largest = std::ldexp(1, depth) - 1;
    const double middle = std::ldexp(1, depth - 1);
    const double luma = isFull ? samples[0] / largest : (samples[0] / unit - 16) / 219;
    const double u = isFull ? (samples[1] - middle) / largest : (samples[1] - middle) / unit / 224;
    const double v = isFull ? (samples[2] - middle) / largest : (samples[2] - middle) / unit / 224;
    const double red = luma + 2 * (1 - matrix.red) * v;
    const double blue = luma + 2 * (1 - matrix.blue) * u;
    const double green = (luma - matrix.red * red - matrix.blue * blue) / (1 - matrix.red - matrix.blue);
    const auto byte = [](double value) { return std::clamp(value, 0.0, 1.0) * 255; };
    return {byte(red), byte(green), byte(blue)};
}

TEST(PictureConverterTest, ConvertsFlatPatchesOfEveryHueExactly) {
    const Matrix matrices[] = {
        {AVCOL_SPC_SMPTE170M, 0.299, 0.114}, {AVCOL_SPC_BT709, 0.2126, 0.0722}, {AVCOL_SPC_BT2020_NCL, 0.2627, 0.0593}};
    const AVPixelFormat formats[] = {AV_PIX_FMT_YUV420P,   AV_PIX_FMT_YUV422P,   AV_PIX_FMT_YUV444P,
                                     AV_PIX_FMT_YUV420P10, AV_PIX_FMT_YUV422P10, AV_PIX_FMT_YUV444P12};
    double worst = 0;
    for (const AVPixelFormat format : formats) {
        const int depth = av_pix_fmt_desc_get(format)->comp[0].depth;
        const FrameHandle picture = makePicture(format, 13, 7);
        for (const Matrix& matrix : matrices) {
            for (const bool isFull : {false, true}) {
                picture->colorspace = matrix.space;
                picture->color_range = isFull ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
                for (int hue = 0; hue < 125; ++hue) {
                    const auto samples =
                        encode(matrix, isFull, depth, {hue % 5 / 4.0, hue / 5 % 5 / 4.0, hue / 25 / 4.0});
                    for (int plane = 0; plane < 3; ++plane) {
                        fillPlane(*picture, plane, samples[static_cast<std::size_t>(plane)]);
                    }
                    const auto exact = decode(matrix, isFull, depth, samples);
                    const Bitmap bitmap = convertPicture(*picture, {}, 9, 11);
                    for (const std::uint32_t pixel : {bitmap.pixels.front(), bitmap.pixels[50], bitmap.pixels.back()}) {
                        ASSERT_EQ(pixel >> 24, 255U);
                        for (int channel = 0; channel < 3; ++channel) {
                            const double shown = pixel >> (16 - 8 * channel) & 255U;
                            worst = std::max(worst, std::abs(shown - exact[static_cast<std::size_t>(channel)]));
                        }
                    }
                }
            }
        }
    }
    EXPECT_LE(worst, 1.0);
}

TEST(PictureConverterTest, ConvertsRareFormats) {
    const FrameHandle rgb = makePicture(AV_PIX_FMT_GBRP, 16, 16);
    fillPlane(*rgb, 0, 10);
    fillPlane(*rgb, 1, 20);
    fillPlane(*rgb, 2, 200);
    const std::uint32_t pixel = convertPicture(*rgb, {}, 8, 8).pixels[20];
    EXPECT_NEAR(pixel >> 16 & 255U, 200, 1);
    EXPECT_NEAR(pixel >> 8 & 255U, 10, 1);
    EXPECT_NEAR(pixel & 255U, 20, 1);
    const FrameHandle grey = makePicture(AV_PIX_FMT_GRAY8, 16, 16);
    grey->color_range = AVCOL_RANGE_MPEG;
    fillPlane(*grey, 0, 235);
    EXPECT_NEAR(convertPicture(*grey, {}, 8, 8).pixels[20] & 255U, 255, 3);
}

TEST(PictureConverterTest, AppliesEveryOrientationOfTheMatrix) {
    constexpr int width = 6;
    constexpr int height = 4;
    const FrameHandle picture = makePicture(AV_PIX_FMT_YUV444P, width, height);
    picture->color_range = AVCOL_RANGE_JPEG;
    fillPlane(*picture, 1, 128);
    fillPlane(*picture, 2, 128);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            picture->data[0][y * picture->linesize[0] + x] = static_cast<std::uint8_t>(40 * y + 5 * x);
    }
    constexpr std::int32_t one = 1 << 16;
    for (const bool isTurned : {false, true}) {
        for (const std::int32_t signX : {one, -one}) {
            for (const std::int32_t signY : {one, -one}) {
                // Stored (x, y) is shown at (a x + c y, b x + d y), brought back to the origin.
                const std::int32_t a = isTurned ? 0 : signX;
                const std::int32_t b = isTurned ? signX : 0;
                const std::int32_t c = isTurned ? signY : 0;
                const std::int32_t d = isTurned ? 0 : signY;
                const std::int32_t matrix[9] = {a, b, 0, c, d, 0, 0, 0, 1 << 30};
                const Orientation orientation = Orientation::fromDisplayMatrix(matrix);
                EXPECT_EQ(orientation.swapsSides(), isTurned);
                const int shownWidth = isTurned ? height : width;
                const int shownHeight = isTurned ? width : height;
                const Bitmap bitmap = convertPicture(*picture, orientation, shownWidth, shownHeight);
                ASSERT_EQ(bitmap.width, shownWidth);
                ASSERT_EQ(bitmap.height, shownHeight);
                for (int y = 0; y < height; ++y) {
                    for (int x = 0; x < width; ++x) {
                        int shownX = a / one * x + c / one * y;
                        int shownY = b / one * x + d / one * y;
                        if (a + c < 0) shownX += shownWidth - 1;
                        if (b + d < 0) shownY += shownHeight - 1;
                        const std::uint32_t pixel =
                            bitmap.pixels[static_cast<std::size_t>(shownY * shownWidth + shownX)];
                        EXPECT_NEAR(pixel & 255U, 40 * y + 5 * x, 1)
                            << x << ' ' << y << ' ' << isTurned << signX << signY;
                    }
                }
            }
        }
    }
    EXPECT_EQ(Orientation::fromDisplayMatrix(nullptr), Orientation{});
}

}  // namespace
}  // namespace videoanalysis::media::ffmpeg
