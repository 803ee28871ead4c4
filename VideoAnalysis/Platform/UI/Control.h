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

    /// A pointer holds the control down; buttons and checkboxes only while it is over them. For the look.
    bool isHighlighted() const { return isHighlighted_; }

    /// Every added action is called, in the order in which they were added.
    void addAction(ControlEvent event, Action action) { actions_.emplace_back(event, std::move(action)); }
    void removeAllActions() { actions_.clear(); }
    /// What the user's touch does; nothing while the control is disabled.
    void sendActions(ControlEvent event);

    /// One pointer at a time presses the control: the first one that comes down with the left button while it is enabled.
    bool handlePointers(std::span<const PointerEvent> events) final;
    /// Lets go of a pointer that is down, as when something else takes over the input.
    void cancelPress();

protected:
    /// Whether `point` lies in the bounds or on their edge.
    bool covers(Point point) const;
    /// A pointer is down on the control.
    bool isPressed() const { return pointer_.has_value(); }
    void setHighlighted(bool highlighted) { set(isHighlighted_, highlighted, Property::isHighlighted); }

    // What the pointer does, in the view's points. The control is highlighted from before the beginning until before the end.

    virtual void pressBegan(Point /*position*/) {}
    virtual void pressMoved(Point /*position*/) {}
    virtual void pressEnded(Point /*position*/) {}
    /// Something else takes over the input.
    virtual void pressCancelled() {}

private:
    /// False when no pointer is down.
    bool releasePointer();

    std::optional<std::int64_t> pointer_;  // that is down
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

    /// For the keyboard and assistive technology: a press and its release inside. Nothing while a pointer holds the button.
    void click();

protected:
    void pressBegan(Point position) override;
    void pressMoved(Point position) override { setHighlighted(covers(position)); }
    void pressEnded(Point position) override;
    void pressCancelled() override { endPress(ControlEvent::touchUpOutside); }

private:
    void endPress(ControlEvent event);

    Point pressPosition_;
    bool isLongPress_ = false;
    dispatch::OneShotTimer longPress_;
    std::string title_;
    Color titleColor_ = Color::white();
    Image image_;
    bool isSelected_ = false;
};

/// A press takes the thumb to where it is, a drag moves it.
class Slider : public Control {
public:
    float value() const { return value_; }
    /// Limited to the range; sends no action: only the user's movement does.
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
    /// For the keyboard and assistive technology: moves the thumb by `fraction` of its way. Nothing while tracking.
    void step(double fraction);

protected:
    void pressBegan(Point position) override;
    void pressMoved(Point position) override { dragThumb(position); }
    void pressEnded(Point position) override;
    void pressCancelled() override { endTracking(ControlEvent::touchUpOutside); }

private:
    void dragThumb(Point position);
    void moveThumb(double position);
    void endTracking(ControlEvent event);

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
