#pragma once
// A palette from which the user picks a colour: swatches in lines, scrolled when they do not fit, the chosen one marked. It
// holds what the palette shows and where; the overlay uses it for the colour of a tool, and any other screen may use it alone.

#include "VideoAnalysis/Platform/UI/IndexPath.h"
#include "VideoAnalysis/Platform/UI/ScrollView.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace videoanalysis {

class ColorPickerView;

/// How the chosen swatch is marked.
enum class ColorPickerViewSelectStyle { check, none };

enum class ColorPickerViewSwatchShape { square, circle };

class ColorPickerViewDelegate {
public:
    virtual ~ColorPickerViewDelegate() = default;
    /// The user has picked `colors()[indexPath.item]`.
    virtual void didSelectItemAt(ColorPickerView& colorPickerView, const ui::IndexPath& indexPath) = 0;
};

/// In points. What a delegate does not answer is as large as a finger needs it.
class ColorPickerViewDelegateFlowLayout {
public:
    virtual ~ColorPickerViewDelegateFlowLayout() = default;
    virtual Size sizeForItemAt(ColorPickerView&, const ui::IndexPath&) { return {44, 44}; }
    virtual double minimumLineSpacingForSectionAt(ColorPickerView&, std::int64_t /*section*/) { return 8; }
    virtual double minimumInteritemSpacingForSectionAt(ColorPickerView&, std::int64_t /*section*/) { return 8; }
    virtual EdgeInsets insetForSectionAt(ColorPickerView&, std::int64_t /*section*/) { return {8, 8, 8, 8}; }
};

/// Always made with `std::make_shared`. Main thread.
class ColorPickerView : public ui::ScrollView {
public:
    ColorPickerView() { layOut(); }

    /// 24 colours in six families of four, each from light to deep; the tools' own colours are among them.
    static const std::vector<Color>& standardColors();

    /// The standard ones at first.
    const std::vector<Color>& colors() const { return colors_; }
    /// May be empty. Nothing is selected afterwards.
    void setColors(std::vector<Color> colors);

    void setDelegate(std::weak_ptr<ColorPickerViewDelegate> delegate) { delegate_ = std::move(delegate); }
    std::shared_ptr<ColorPickerViewDelegate> delegate() const { return delegate_.lock(); }
    /// Asked at once and whenever the width changes.
    void setLayoutDelegate(std::weak_ptr<ColorPickerViewDelegateFlowLayout> delegate);
    std::shared_ptr<ColorPickerViewDelegateFlowLayout> layoutDelegate() const { return layoutDelegate_.lock(); }

    ColorPickerViewSelectStyle selectionStyle() const { return selectionStyle_; }
    void setSelectionStyle(ColorPickerViewSelectStyle style) { set(selectionStyle_, style, ui::Property::other); }
    ColorPickerViewSwatchShape swatchShape() const { return swatchShape_; }
    void setSwatchShape(ColorPickerViewSwatchShape shape) { set(swatchShape_, shape, ui::Property::other); }

    std::optional<std::int64_t> preselectedIndex() const { return preselectedIndex_; }
    /// Selects the swatch and scrolls, without animation, until it is in the middle of the height, as far as the palette
    /// reaches. Absent, or no index of a colour: nothing is selected and the palette is scrolled to its top.
    void setPreselectedIndex(std::optional<std::int64_t> index);
    /// What was preselected or picked last.
    std::optional<std::int64_t> selectedIndex() const { return selectedIndex_; }

    /// For the platform: the user has picked the swatch. Ignored where there is none.
    void selectItem(std::int64_t index);

    /// In content points. `index` is that of a colour.
    const Rect& frameOfItem(std::int64_t index) const { return frames_.at(static_cast<std::size_t>(index)); }
    /// For the keyboard: the swatch beside that of `index` in the direction of an arrow key (each step -1, 0 or 1); `index` where
    /// there is none.
    std::int64_t neighborOf(std::int64_t index, int stepX, int stepY) const;
    /// Whether the swatch carries the mark.
    bool isChecked(std::int64_t index) const {
        return selectionStyle_ == ColorPickerViewSelectStyle::check && selectedIndex_ == index;
    }

    /// Black or white, whichever has more contrast with the swatch (contrast of relative luminances, WCAG 2.1).
    static Color markColor(const Color& swatch);

protected:
    void boundsDidChange(const Rect& old) override;

private:
    bool isColor(std::int64_t index) const { return index >= 0 && index < static_cast<std::int64_t>(colors_.size()); }
    void layOut();
    void scrollToPreselected();

    std::vector<Color> colors_ = standardColors();
    std::weak_ptr<ColorPickerViewDelegate> delegate_;
    std::weak_ptr<ColorPickerViewDelegateFlowLayout> layoutDelegate_;
    ColorPickerViewSelectStyle selectionStyle_ = ColorPickerViewSelectStyle::check;
    ColorPickerViewSwatchShape swatchShape_ = ColorPickerViewSwatchShape::circle;
    std::optional<std::int64_t> preselectedIndex_;
    std::optional<std::int64_t> selectedIndex_;
    std::vector<Rect> frames_;
};

}  // namespace videoanalysis
