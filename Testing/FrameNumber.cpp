#include "Testing/FrameNumber.h"

#include "Testing/FrameCode.h"

#include <algorithm>

namespace videoanalysis {

std::optional<int> readFrameNumber(const std::uint8_t* bgra, int width, int height, std::ptrdiff_t stride) {
    return readFrameNumber(bgra, width, height, stride,
                           {0, 0, static_cast<double>(width), static_cast<double>(height)});
}

std::optional<int> readFrameNumber(const std::uint8_t* bgra, int width, int height, std::ptrdiff_t stride,
                                   const FrameRectangle& frame) {
    using samples::FrameCode;
    const double stripHeight = frame.height / FrameCode::stripsPerHeight;
    const double cellWidth = frame.width / FrameCode::cellCount;
    if (frame.x < 0 || frame.y < 0 || frame.x + frame.width > width || frame.y + stripHeight > height ||
        cellWidth < 2 || stripHeight < 2) {
        return std::nullopt;
    }
    // Only the middle of each cell counts: edges are blurred by scaling and coding.
    const int top = static_cast<int>(frame.y + stripHeight * 0.4);
    const int bottom = std::max(top + 1, static_cast<int>(frame.y + stripHeight * 0.6));
    FrameCode::Cells cells{};
    for (std::size_t i = 0; i < cells.size(); ++i) {
        const double cellLeft = frame.x + static_cast<double>(i) * cellWidth;
        const int left = static_cast<int>(cellLeft + cellWidth * 0.4);
        const int right = std::max(left + 1, static_cast<int>(cellLeft + cellWidth * 0.6));
        int sum = 0;
        for (int y = top; y < bottom; ++y) {
            for (int x = left; x < right; ++x) {
                const std::uint8_t* pixel = bgra + y * stride + std::ptrdiff_t{4} * x;
                sum += (pixel[0] + 2 * pixel[1] + pixel[2]) / 4;
            }
        }
        const int brightness = sum / ((bottom - top) * (right - left));
        if (brightness > 96 && brightness < 176) {
            return std::nullopt;  // neither dark nor bright
        }
        cells[i] = brightness >= 176;
    }
    return FrameCode::decode(cells);
}

}  // namespace videoanalysis
