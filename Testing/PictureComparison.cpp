#include "Testing/PictureComparison.h"

#include <png.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <vector>

namespace videoanalysis::conformance {
namespace {

constexpr int shifts[] = {24, 16, 8, 0};
/// Neighbours that differ by more are an edge. A glow of five pixels' standard deviation changes less.
constexpr int edgeContrast = 64;

int channelOf(std::uint32_t pixel, int shift) { return static_cast<int>(pixel >> shift & 0xFFU); }

std::uint32_t pixelAt(const Bitmap& bitmap, int x, int y) {
    return bitmap
        .pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(bitmap.width) + static_cast<std::size_t>(x)];
}

/// PNG files hold colours that are not premultiplied. Dividing by alpha and multiplying again gives the same value, rounded.
std::uint32_t unpremultiplied(std::uint32_t pixel) {
    const auto alpha = static_cast<std::uint32_t>(channelOf(pixel, 24));
    if (alpha == 0) return 0;
    std::uint32_t result = alpha << 24;
    for (const int shift : {16, 8, 0}) {
        const auto value = static_cast<std::uint32_t>(channelOf(pixel, shift));
        result |= std::min<std::uint32_t>(255, (value * 255 + alpha / 2) / alpha) << shift;
    }
    return result;
}

std::uint32_t premultiplied(std::uint32_t pixel) {
    const auto alpha = static_cast<std::uint32_t>(channelOf(pixel, 24));
    std::uint32_t result = alpha << 24;
    for (const int shift : {16, 8, 0}) {
        result |= (static_cast<std::uint32_t>(channelOf(pixel, shift)) * alpha + 127) / 255 << shift;
    }
    return result;
}

/// False when the file cannot be written.
bool write(const Bitmap& bitmap, const std::string& file) {
    std::vector<std::uint32_t> pixels(bitmap.pixels.size());
    std::transform(bitmap.pixels.begin(), bitmap.pixels.end(), pixels.begin(), unpremultiplied);
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(bitmap.width);
    image.height = static_cast<png_uint_32>(bitmap.height);
    image.format = PNG_FORMAT_BGRA;
    return png_image_write_to_file(&image, file.c_str(), 0, pixels.data(), 0, nullptr) != 0;
}

std::optional<Bitmap> read(const std::string& file) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, file.c_str()) == 0) return std::nullopt;
    image.format = PNG_FORMAT_BGRA;
    Bitmap bitmap(static_cast<int>(image.width), static_cast<int>(image.height), 1);
    if (png_image_finish_read(&image, nullptr, bitmap.pixels.data(), 0, nullptr) == 0) return std::nullopt;
    std::transform(bitmap.pixels.begin(), bitmap.pixels.end(), bitmap.pixels.begin(), premultiplied);
    return bitmap;
}

/// Whether a neighbour of the pixel differs by the contrast of an edge.
bool isEdge(const Bitmap& reference, int x, int y) {
    for (const int shift : shifts) {
        int low = 255;
        int high = 0;
        for (int j = std::max(0, y - 1); j <= std::min(reference.height - 1, y + 1); ++j) {
            for (int i = std::max(0, x - 1); i <= std::min(reference.width - 1, x + 1); ++i) {
                low = std::min(low, channelOf(pixelAt(reference, i, j), shift));
                high = std::max(high, channelOf(pixelAt(reference, i, j), shift));
            }
        }
        if (high - low > edgeContrast) return true;
    }
    return false;
}

struct Difference {
    int flat = 0;       ///< pixels that differ too much where nothing but rounding may
    int edge = 0;       ///< pixels on edges that differ too much
    int edgeCount = 0;  ///< pixels on edges
    int worst = 0;
    int worstX = 0, worstY = 0;
    int left = INT32_MAX, top = INT32_MAX, right = -1, bottom = -1;  ///< around those that differ too much
    Bitmap map;                                                      ///< bright where they do
};

Difference differenceOf(const Bitmap& picture, const Bitmap& reference, const PictureTolerance& tolerance) {
    Difference found;
    found.map = Bitmap(picture.width, picture.height, 1);
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            int by = 0;
            for (const int shift : shifts) {
                const int a = channelOf(pixelAt(picture, x, y), shift);
                by = std::max(by, std::abs(a - channelOf(pixelAt(reference, x, y), shift)));
            }
            const bool isOnEdge = isEdge(reference, x, y);
            found.edgeCount += isOnEdge ? 1 : 0;
            const auto level = static_cast<std::uint32_t>(by);
            found.map.pixels[static_cast<std::size_t>(y * picture.width + x)] =
                0xFF000000U | level << 16 | level << 8 | level;
            if (by <= (isOnEdge ? tolerance.edge : tolerance.flat)) continue;
            (isOnEdge ? found.edge : found.flat) += 1;
            if (by > found.worst) {
                found.worst = by;
                found.worstX = x;
                found.worstY = y;
            }
            found.left = std::min(found.left, x);
            found.top = std::min(found.top, y);
            found.right = std::max(found.right, x);
            found.bottom = std::max(found.bottom, y);
        }
    }
    return found;
}

std::string hexadecimal(std::uint32_t pixel) {
    char text[16];
    std::snprintf(text, sizeof text, "#%08X", pixel);
    return text;
}

}  // namespace

testing::AssertionResult looksLike(const Bitmap& picture, const std::string& folder, const std::string& name,
                                   const PictureTolerance& tolerance) {
    const std::string file = folder + "/" + name + ".png";
    if (std::getenv("VIDEOANALYSIS_MAKE_REFERENCES")) {
        if (!write(picture, file)) return testing::AssertionFailure() << file << " cannot be written";
        return testing::AssertionSuccess();
    }
    const std::filesystem::path output = std::filesystem::path(testing::TempDir()) / "videoanalysis-pictures";
    std::filesystem::create_directories(output);
    const std::string actual = (output / (name + "-actual.png")).string();

    const std::optional<Bitmap> reference = read(file);
    if (!reference) return testing::AssertionFailure() << file << " cannot be read";
    if (reference->width != picture.width || reference->height != picture.height) {
        write(picture, actual);
        return testing::AssertionFailure()
               << name << " is " << picture.width << " x " << picture.height << " pixels instead of "
               << reference->width << " x " << reference->height << "; the picture is in " << actual;
    }
    const Difference found = differenceOf(picture, *reference, tolerance);
    if (found.flat == 0 && found.edge <= tolerance.edgeShare * found.edgeCount) return testing::AssertionSuccess();

    const std::string difference = (output / (name + "-difference.png")).string();
    write(picture, actual);
    write(found.map, difference);
    return testing::AssertionFailure() << name << " differs in " << found.flat << " flat pixels (by more than "
                                       << tolerance.flat << ") and in " << found.edge << " of " << found.edgeCount
                                       << " pixels on edges (by more than " << tolerance.edge << "), all between ("
                                       << found.left << ", " << found.top << ") and (" << found.right << ", "
                                       << found.bottom << "); worst at (" << found.worstX << ", " << found.worstY
                                       << "), by " << found.worst << ": "
                                       << hexadecimal(pixelAt(picture, found.worstX, found.worstY)) << " instead of "
                                       << hexadecimal(pixelAt(*reference, found.worstX, found.worstY))
                                       << "; the picture is in " << actual << ", the difference in " << difference;
}

}  // namespace videoanalysis::conformance
