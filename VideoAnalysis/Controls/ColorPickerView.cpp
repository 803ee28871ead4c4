#include "VideoAnalysis/Controls/ColorPickerView.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace videoanalysis {
namespace {

/// Relative luminance of an opaque colour, 0...1 (WCAG 2.1).
double luminance(const Color& color) {
    const auto linear = [](double value) {
        return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.red) + 0.7152 * linear(color.green) + 0.0722 * linear(color.blue);
}

}  // namespace

const std::vector<Color>& ColorPickerView::standardColors() {
    static const std::vector<Color> colors = {
        Color::white(),
        Color::rgb255(189, 189, 189),
        Color::rgb255(97, 97, 97),
        Color::black(),
        Color::rgb255(255, 158, 150),
        Color::rgb255(255, 82, 82),
        Color::rgb255(255, 23, 68),
        Color::rgb255(176, 0, 32),
        Color::rgb255(255, 234, 0),
        Color::rgb255(255, 196, 0),
        Color::rgb255(255, 145, 0),
        Color::rgb255(255, 87, 34),
        Color::rgb255(204, 255, 144),
        Color::rgb255(118, 255, 3),
        Color::rgb255(0, 230, 118),
        Color::rgb255(0, 140, 70),
        Color::rgb255(0, 229, 255),
        Color::rgb255(0, 176, 255),
        Color::rgb255(41, 98, 255),
        Color::rgb255(16, 42, 148),
        Color::rgb255(255, 128, 204),
        Color::rgb255(245, 0, 170),
        Color::rgb255(170, 0, 255),
        Color::rgb255(98, 0, 190),
    };
    return colors;
}

void ColorPickerView::setColors(std::vector<Color> colors) {
    colors_ = std::move(colors);
    preselectedIndex_.reset();
    selectedIndex_.reset();
    layOut();
    notify(ui::Property::other);  // the swatches stand as before when their number is the same
    scrollToPreselected();
}

void ColorPickerView::setLayoutDelegate(std::weak_ptr<ColorPickerViewDelegateFlowLayout> delegate) {
    layoutDelegate_ = std::move(delegate);
    layOut();
    scrollToPreselected();
}

void ColorPickerView::setPreselectedIndex(std::optional<std::int64_t> index) {
    if (index && !isColor(*index)) index.reset();
    preselectedIndex_ = index;
    if (std::exchange(selectedIndex_, index) != index) notify(ui::Property::other);
    scrollToPreselected();
}

void ColorPickerView::selectItem(std::int64_t index) {
    if (!isColor(index)) return;
    if (std::exchange(selectedIndex_, index) != index) notify(ui::Property::other);
    if (const auto receiver = delegate()) receiver->didSelectItemAt(*this, {index, 0});
}

std::int64_t ColorPickerView::neighborOf(std::int64_t index, int stepX, int stepY) const {
    const auto count = static_cast<std::int64_t>(colors_.size());
    if (!isColor(index)) return index;
    if (stepY == 0) return std::clamp<std::int64_t>(index + stepX, 0, count - 1);
    const Rect& from = frameOfItem(index);
    std::int64_t nearest = index;
    double nearestDistance = std::numeric_limits<double>::infinity();
    for (std::int64_t candidate = 0; candidate < count; ++candidate) {
        const Rect& frame = frameOfItem(candidate);
        const double down = (frame.midY() - from.midY()) * stepY;
        // The next line first, then the nearest in it.
        const double distance = down * 1000 + std::abs(frame.midX() - from.midX());
        if (down > 0 && distance < nearestDistance) {
            nearest = candidate;
            nearestDistance = distance;
        }
    }
    return nearest;
}

Color ColorPickerView::markColor(const Color& swatch) {
    // The contrasts (1.05 / (L + 0.05)) with white and ((L + 0.05) / 0.05) with black are equal where L + 0.05 = sqrt(0.0525).
    static const double middle = std::sqrt(1.05 * 0.05) - 0.05;
    return luminance(swatch) > middle ? Color::black() : Color::white();
}

void ColorPickerView::boundsDidChange(const Rect&) {
    layOut();
    scrollToPreselected();
}

/// Swatches from left to right in lines, as many in each as fit, at least one.
void ColorPickerView::layOut() {
    ColorPickerViewDelegateFlowLayout standard;
    const auto asked = layoutDelegate();
    ColorPickerViewDelegateFlowLayout& layout = asked ? *asked : standard;
    const EdgeInsets insets = layout.insetForSectionAt(*this, 0);
    const double lineSpacing = layout.minimumLineSpacingForSectionAt(*this, 0);
    const double itemSpacing = layout.minimumInteritemSpacingForSectionAt(*this, 0);

    std::vector<Rect> frames;
    Point next{insets.left, insets.top};
    double lineEnd = insets.top;
    for (std::size_t i = 0; i < colors_.size(); ++i) {
        const Size size = layout.sizeForItemAt(*this, {static_cast<std::int64_t>(i), 0});
        if (next.x > insets.left && next.x + size.width > bounds().size.width - insets.right) {
            next = {insets.left, lineEnd + lineSpacing};
        }
        frames.emplace_back(next, size);
        next.x += size.width + itemSpacing;
        lineEnd = std::max(lineEnd, next.y + size.height);
    }
    setContentSize({bounds().size.width, lineEnd + insets.bottom});
    if (std::exchange(frames_, frames) != frames) notify(ui::Property::other);
}

void ColorPickerView::scrollToPreselected() {
    const double height = bounds().size.height;
    const double wanted = preselectedIndex_ ? frameOfItem(*preselectedIndex_).midY() - height / 2 : 0;
    setContentOffset({0, std::clamp(wanted, 0.0, std::max(0.0, contentSize().height - height))});
}

}  // namespace videoanalysis
