#pragma once
// Controls and the plain views that show a text or a picture. A platform passes pointers and keys; the controls turn them into
// actions, to which the component's controllers have added their targets.

#include "VideoAnalysis/Platform/Image.h"
#include "VideoAnalysis/Platform/OneShotTimer.h"
#include "VideoAnalysis/Platform/UI/GestureRecognizer.h"
#include "VideoAnalysis/Platform/UI/View.h"

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace videoanalysis::ui {

enum class ControlEvent { touchDown, touchUpInside, touchUpOutside, valueChanged };

class Control : public View {
public:
    using Action = std::function<void(Control& sender)>;

    bool isEnabled() const { return isEnabled_; }
    void setEnabled(bool enabled) { set(isEnabled_, enabled, Property::isEnabled); }

    /// A pointer holds the control down; buttons only while it is over them. For the look.
    bool isHighlighted() const { return isHighlighted_; }
    /// For controls and platforms that track pointers.
    void setHighlighted(bool highlighted) { set(isHighlighted_, highlighted, Property::isHighlighted); }

    /// Every added action is called, in the order in which they were added.
    void addAction(ControlEvent event, Action action) { actions_.emplace_back(event, std::move(action)); }
    void removeAllActions() { actions_.clear(); }
    /// What the user's touch does; nothing while the control is disabled.
    void sendActions(ControlEvent event);

protected:
    /// Whether `point` lies in the bounds or on their edge.
    bool covers(Point point) const;

private:
    bool isEnabled_ = true;
    bool isHighlighted_ = false;
    std::vector<std::pair<ControlEvent, Action>> actions_;
};

class Button : public Control {
public:
    /// Empty for none.
    const std::string& title() const { return title_; }
    void setTitle(const std::string& title) { set(title_, title, Property::title); }
    const Color& titleColor() const { return titleColor_; }
    void setTitleColor(const Color& color) { set(titleColor_, color, Property::titleColor); }
    const Image& image() const { return image_; }
    void setImage(const Image& image) { set(image_, image, Property::image); }
    bool isSelected() const { return isSelected_; }
    void setSelected(bool selected) { set(isSelected_, selected, Property::isSelected); }

    /// Null when there is no use for a long press. Begins when the button has been held down for half a second; such a press
    /// sends no touch-up action.
    std::shared_ptr<LongPressGestureRecognizer> longPressGestureRecognizer;

    bool handlePointers(std::span<const PointerEvent> events) override;
    /// For the keyboard and assistive technology: a press and its release inside. Nothing while a pointer holds the button.
    void click();

private:
    void beginPress(const PointerEvent& event);
    void endPress(ControlEvent event);

    std::optional<std::int64_t> pointer_;  // that holds the button down
    Point pressPosition_;
    bool isLongPress_ = false;
    dispatch::OneShotTimer longPress_;
    std::string title_;
    Color titleColor_ = Color::white();
    Image image_;
    bool isSelected_ = false;
};

class Slider : public Control {
public:
    float value() const { return value_; }
    /// Limited to the range; tells no action, only the user's own movement does.
    void setValue(float value);
    float minimumValue() const { return minimum_; }
    float maximumValue() const { return maximum_; }
    /// `minimum` <= `maximum`.
    void setRange(float minimum, float maximum);
    /// A pointer holds the thumb, from before the touch-down action until after the touch-up one.
    bool isTracking() const { return isTracking_; }

    /// Where the thumb is, 0...1 of its way.
    double thumbPosition() const;
    /// How far from both ends of the view the thumb's way begins, in points. Set by the platform, which draws it.
    double trackInset() const { return trackInset_; }
    void setTrackInset(double inset) { trackInset_ = inset; }
    /// A press takes the thumb to where it is, a drag moves it.
    bool handlePointers(std::span<const PointerEvent> events) override;
    /// For the keyboard and assistive technology: moves the thumb by `fraction` of its way. Nothing while tracking.
    void step(double fraction);

private:
    void dragThumb(Point position);
    void moveThumb(double position);
    void endTracking(ControlEvent event);

    std::optional<std::int64_t> pointer_;  // that holds the thumb
    double trackInset_ = 0;
    float value_ = 0;
    float minimum_ = 0;
    float maximum_ = 1;
    bool isTracking_ = false;
};

class Label : public View {
public:
    const std::string& text() const { return text_; }
    void setText(const std::string& text) { set(text_, text, Property::text); }

private:
    std::string text_;
};

class ImageView : public View {
public:
    const Image& image() const { return image_; }
    void setImage(const Image& image) { set(image_, image, Property::image); }

private:
    Image image_;
};

/// Lays its buttons out in a line; where they stand is the platform's business.
class StackView : public View {};

}  // namespace videoanalysis::ui
