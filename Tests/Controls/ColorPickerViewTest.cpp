// The colour picker, alone and without a screen.

#include "VideoAnalysis/Controls/ColorPickerView.h"

#include "Tests/Support/ComponentTest.h"

#include <algorithm>

namespace videoanalysis {
namespace {

class Host : public ColorPickerViewDelegate, public ColorPickerViewDelegateFlowLayout {
public:
    std::vector<ui::IndexPath> picked;

    void didSelectItemAt(ColorPickerView&, const ui::IndexPath& indexPath) override { picked.push_back(indexPath); }
    Size sizeForItemAt(ColorPickerView&, const ui::IndexPath& indexPath) override {
        return {30, indexPath.item == 4 ? 50.0 : 30.0};
    }
    double minimumLineSpacingForSectionAt(ColorPickerView&, std::int64_t) override { return 6; }
    double minimumInteritemSpacingForSectionAt(ColorPickerView&, std::int64_t) override { return 5; }
    EdgeInsets insetForSectionAt(ColorPickerView&, std::int64_t) override { return {1, 2, 3, 4}; }
};

/// What a screen shows: the colours as they are each time the picker says that they have changed.
class ShownColors final : public ui::ViewObserver {
public:
    std::vector<Color> colors;
    std::optional<std::int64_t> selected;

    void viewDidChange(ui::View& view, ui::Property property) override {
        if (property != ui::Property::other) return;
        colors = static_cast<ColorPickerView&>(view).colors();
        selected = static_cast<ColorPickerView&>(view).selectedIndex();
    }
};

class ColorPickerViewTest : public ComponentTest {
protected:
    const std::shared_ptr<ColorPickerView> picker = std::make_shared<ColorPickerView>();
    const std::shared_ptr<Host> host = std::make_shared<Host>();
};

TEST_F(ColorPickerViewTest, SwatchesAreLaidOutAsTheDelegateAsks) {
    picker->setLayoutDelegate(host);
    picker->setFrame({0, 0, 2 + 3 * 30 + 2 * 5 + 4, 100});  // exactly three in a line
    EXPECT_EQ(picker->frameOfItem(0), Rect(2, 1, 30, 30));
    EXPECT_EQ(picker->frameOfItem(2), Rect(72, 1, 30, 30));
    EXPECT_EQ(picker->frameOfItem(3), Rect(2, 37, 30, 30));
    EXPECT_EQ(picker->frameOfItem(6), Rect(2, 37 + 50 + 6, 30, 30)) << "below the tallest of its line";
    EXPECT_EQ(picker->contentSize().height, picker->frameOfItem(23).maxY() + 3);
    picker->setFrame({0, 0, 105, 100});
    EXPECT_EQ(picker->frameOfItem(2), Rect(2, 37, 30, 30)) << "a point too narrow";
    picker->setFrame({0, 0, 10, 100});
    EXPECT_EQ(picker->frameOfItem(1).origin.x, 2) << "one at least";

    picker->setLayoutDelegate({});
    picker->setFrame({0, 0, 300, 100});
    EXPECT_EQ(picker->frameOfItem(0).size, (Size{44, 44})) << "large enough for a finger by default";
    picker->setColors({});
    EXPECT_EQ(picker->contentSize().height, 16);
}

TEST_F(ColorPickerViewTest, PreselectedSwatchIsScrolledToTheMiddle) {
    picker->setFrame({0, 0, 8 + 4 * 52 + 8, 120});  // six lines of 52
    picker->setPreselectedIndex(13);                // in the fourth
    EXPECT_EQ(picker->contentOffset().y, picker->frameOfItem(13).midY() - 60);
    EXPECT_TRUE(picker->isChecked(13));
    EXPECT_FALSE(picker->isChecked(12));
    picker->setPreselectedIndex(1);
    EXPECT_EQ(picker->contentOffset().y, 0) << "not beyond the top";
    picker->setPreselectedIndex(23);
    EXPECT_EQ(picker->contentOffset().y, picker->contentSize().height - 120) << "nor beyond the end";
    picker->setFrame({0, 0, 224, 60});
    EXPECT_EQ(picker->contentOffset().y, picker->contentSize().height - 60) << "nor lost when the room changes";

    for (const auto none :
         {std::optional<std::int64_t>(), std::optional<std::int64_t>(24), std::optional<std::int64_t>(-1)}) {
        picker->setPreselectedIndex(13);
        picker->setPreselectedIndex(none);
        EXPECT_EQ(picker->contentOffset().y, 0);
        EXPECT_EQ(picker->selectedIndex(), std::nullopt);
    }
    picker->setSelectionStyle(ColorPickerViewSelectStyle::none);
    picker->setPreselectedIndex(2);
    EXPECT_EQ(picker->selectedIndex(), 2);
    EXPECT_FALSE(picker->isChecked(2));
}

TEST_F(ColorPickerViewTest, PickingMarksTheSwatchAndNotifiesTheDelegate) {
    picker->selectItem(3);
    EXPECT_EQ(picker->selectedIndex(), 3) << "also without a delegate";
    picker->setDelegate(host);
    picker->selectItem(5);
    picker->selectItem(5);
    picker->selectItem(24);
    picker->selectItem(-1);
    EXPECT_EQ(host->picked, (std::vector<ui::IndexPath>{{5, 0}, {5, 0}})) << "the same again is a choice, too";
    EXPECT_TRUE(picker->isChecked(5));
    EXPECT_EQ(picker->preselectedIndex(), std::nullopt);
    picker->setColors({Color::white(), Color::black()});
    EXPECT_EQ(picker->selectedIndex(), std::nullopt);
}

TEST_F(ColorPickerViewTest, ArrowKeysFindTheNeighboringSwatch) {
    picker->setFrame({0, 0, 8 + 5 * 52 + 8, 400});  // five in a line, four in the last one
    EXPECT_EQ(picker->neighborOf(4, 1, 0), 5) << "into the next line";
    EXPECT_EQ(picker->neighborOf(5, -1, 0), 4);
    EXPECT_EQ(picker->neighborOf(0, -1, 0), 0);
    EXPECT_EQ(picker->neighborOf(23, 1, 0), 23);
    EXPECT_EQ(picker->neighborOf(2, 0, 1), 7);
    EXPECT_EQ(picker->neighborOf(7, 0, -1), 2);
    EXPECT_EQ(picker->neighborOf(2, 0, -1), 2) << "nothing above the first line";
    EXPECT_EQ(picker->neighborOf(19, 0, 1), 23) << "the nearest one where the line is short";
    EXPECT_EQ(picker->neighborOf(23, 0, 1), 23);
    EXPECT_EQ(picker->neighborOf(24, 0, 1), 24);
    EXPECT_EQ(picker->neighborOf(-1, 1, 0), -1);
}

TEST_F(ColorPickerViewTest, ShowsAnyNumberOfColors) {
    ShownColors shown;
    picker->setObserver(&shown);
    for (const auto& colors :
         {std::vector{Color::white(), Color::black()}, std::vector{Color::systemRed(), Color::black()},
          std::vector{Color::systemRed()}, std::vector<Color>()}) {
        picker->selectItem(0);
        picker->setColors(colors);
        EXPECT_EQ(shown.colors, colors);
        EXPECT_EQ(shown.selected, std::nullopt);
    }
    picker->setObserver(nullptr);
}

TEST_F(ColorPickerViewTest, EveryMarkHasContrastAndEveryToolColourIsOffered) {
    EXPECT_EQ(ColorPickerView::markColor(Color::white()), Color::black());
    EXPECT_EQ(ColorPickerView::markColor(Color::black()), Color::white());
    EXPECT_EQ(ColorPickerView::markColor(Color::rgb255(0, 0, 255)), Color::white());
    EXPECT_EQ(ColorPickerView::markColor(Color::rgb255(0, 255, 0)), Color::black());
    // The two contrasts meet between these greys, at 4.6 : 1.
    EXPECT_EQ(ColorPickerView::markColor(Color::rgb255(117, 117, 117)), Color::white());
    EXPECT_EQ(ColorPickerView::markColor(Color::rgb255(118, 118, 118)), Color::black());

    const auto& colors = ColorPickerView::standardColors();
    for (int tool = 0; tool <= 7; ++tool) {
        const auto color = ToolColorMap::standard()[static_cast<SketchToolType>(tool)].value_or(Color::white());
        EXPECT_EQ(std::count(colors.begin(), colors.end(), color), 1) << tool;
    }
}

}  // namespace
}  // namespace videoanalysis
