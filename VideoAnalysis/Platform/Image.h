#pragma once
// `Bitmap` is a block of pixels. `Image` is the content of a view or icon: the name of a resource or a shared, immutable
// bitmap.

#include "VideoAnalysis/Platform/Geometry.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace videoanalysis {

/// Premultiplied ARGB, 32 bits per pixel in native byte order (B, G, R, A in memory on little-endian machines), rows from
/// top to bottom, `width * 4` bytes per row.
struct Bitmap {
    int width = 0;     ///< pixels
    int height = 0;    ///< pixels
    double scale = 1;  ///< pixels per point
    std::vector<std::uint32_t> pixels;

    Bitmap() = default;
    /// A transparent bitmap. Sizes in pixels, zero or more.
    Bitmap(int width, int height, double scale)
        : width(width), height(height), scale(scale),
          pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height)) {}

    /// Size in points.
    Size size() const { return {width / scale, height / scale}; }
    std::ptrdiff_t bytesPerRow() const { return static_cast<std::ptrdiff_t>(width) * 4; }
};

/// A value, cheap to copy. Images are equal if they name the same resource or share a bitmap.
class Image {
public:
    Image() = default;
    /// An image from the component's or the host's resources, looked up by the platform when shown.
    static Image named(std::string name) {
        Image image;
        image.name_ = std::move(name);
        return image;
    }
    /// A system symbol, such as "play.fill"; shown like a named resource.
    static Image systemNamed(std::string name) { return named(std::move(name)); }
    explicit Image(std::shared_ptr<const Bitmap> bitmap) : bitmap_(std::move(bitmap)) {}

    const std::string& name() const { return name_; }
    const std::shared_ptr<const Bitmap>& bitmap() const { return bitmap_; }
    /// Size in points; zero for a named resource, whose size only the platform knows.
    Size size() const { return bitmap_ ? bitmap_->size() : Size{}; }
    bool isEmpty() const { return name_.empty() && !bitmap_; }

    friend bool operator==(const Image&, const Image&) = default;

private:
    std::string name_;
    std::shared_ptr<const Bitmap> bitmap_;
};

}  // namespace videoanalysis
