#include "Platforms/Cairo/GaussianBlur.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace videoanalysis::graphics {
namespace {

constexpr int passes = 3;

/// A box of 2 * radius + 1 whole pixels with a fraction of one more at each end, so that `passes` of them have exactly the
/// variance of the Gaussian. Gwosdek, Grewenig, Bruhn, Weickert: Theoretical Foundations of Gaussian Convolution by Extended
/// Box Filtering, 2011.
struct Box {
    int radius;
    float inner;  ///< weight of a whole pixel
    float outer;  ///< weight of an end pixel

    explicit Box(double sigma) {
        const double variance = sigma * sigma / passes;
        radius = static_cast<int>((std::sqrt(12 * variance + 1) - 1) / 2);
        const double whole = 2.0 * radius + 1;
        const double fraction = whole * (radius * (radius + 1.0) - 3 * variance) /
                                (6 * (variance - (radius + 1.0) * (radius + 1.0)));
        inner = static_cast<float>(1 / (whole + 2 * fraction));
        outer = static_cast<float>(fraction) * inner;
    }
};

/// One pass down `count` rows of `width` floats, all columns side by side. `scratch` holds two rows, the second one empty.
void pass(const float* in, float* out, int count, int width, const Box& box, float* scratch) {
    float* sums = scratch;
    const float* empty = scratch + width;
    const auto row = [&](int i) { return i >= 0 && i < count ? in + static_cast<std::ptrdiff_t>(i) * width : empty; };
    std::fill(sums, sums + width, 0.0F);
    for (int i = 0; i < std::min(box.radius, count); ++i)
        for (int x = 0; x < width; ++x) sums[x] += row(i)[x];
    for (int i = 0; i < count; ++i) {
        const float* before = row(i - box.radius - 1);
        const float* leaving = row(i - box.radius);
        const float* entering = row(i + box.radius);
        const float* after = row(i + box.radius + 1);
        float* target = out + static_cast<std::ptrdiff_t>(i) * width;
        for (int x = 0; x < width; ++x) {
            const float sum = sums[x] + entering[x];
            target[x] = sum * box.inner + (before[x] + after[x]) * box.outer;
            sums[x] = sum - leaving[x];
        }
    }
}

/// `height` rows of `width` become `width` rows of `height`, in blocks that stay in the cache.
template <class From, class Convert>
void transpose(const From* from, std::ptrdiff_t stride, float* to, int width, int height, const Convert& convert) {
    constexpr int block = 32;
    for (int top = 0; top < height; top += block)
        for (int left = 0; left < width; left += block)
            for (int x = left; x < std::min(left + block, width); ++x)
                for (int y = top; y < std::min(top + block, height); ++y)
                    to[static_cast<std::ptrdiff_t>(x) * height + y] = convert(from[y * stride + x]);
}

}  // namespace

int gaussianBlurReach(double sigma) { return sigma > 0 ? passes * (Box(sigma).radius + 1) : 0; }

void gaussianBlur(std::uint8_t* mask, int width, int height, std::ptrdiff_t stride, double sigma) {
    if (width <= 0 || height <= 0 || !(sigma > 0)) return;
    const Box box(sigma);
    std::vector<float> a(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    std::vector<float> b(a.size());
    std::vector<float> scratch(2 * static_cast<std::size_t>(std::max(width, height)));
    // Three passes take one buffer to the other.
    const auto blurRows = [&](int count, int rowWidth) {
        std::fill(scratch.begin(), scratch.end(), 0.0F);
        pass(a.data(), b.data(), count, rowWidth, box, scratch.data());
        pass(b.data(), a.data(), count, rowWidth, box, scratch.data());
        pass(a.data(), b.data(), count, rowWidth, box, scratch.data());
    };
    transpose(mask, stride, a.data(), width, height, [](std::uint8_t value) { return static_cast<float>(value); });
    blurRows(width, height);
    transpose(b.data(), height, a.data(), height, width, [](float value) { return value; });
    blurRows(height, width);
    for (int y = 0; y < height; ++y) {
        const float* row = b.data() + static_cast<std::ptrdiff_t>(y) * width;
        for (int x = 0; x < width; ++x)
            mask[y * stride + x] = static_cast<std::uint8_t>(std::clamp(row[x] + 0.5F, 0.0F, 255.0F));
    }
}

}  // namespace videoanalysis::graphics
