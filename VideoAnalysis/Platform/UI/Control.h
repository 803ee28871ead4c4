#pragma once
// Controls and the plain views that show a text or a picture. A platform calls `sendActions` when the user acts; the
// component's controllers have added their targets.

#include "VideoAnalysis/Platform/Image.h"
#include "VideoAnalysis/Platform/UI/GestureRecognizer.h"
#include "VideoAnalysis/Platform/UI/View.h"

#include <functional>
#include <memory>
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

    /// Every added action is called, in the order in which they were added.
    void addAction(ControlEvent event, Action action) { actions_.emplace_back(event, std::move(action)); }
    void removeAllActions() { actions_.clear(); }
    /// What the user's touch does; nothing while the control is disabled.
    void sendActions(ControlEvent event);

private:
    bool isEnabled_ = true;
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

    /// Null when nobody listens. The platform feeds it when the button is held down; a press that became a long one sends no
    /// touch-up action.
    std::shared_ptr<LongPressGestureRecognizer> longPressGestureRecognizer;

private:
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
    /// The user's finger is on the thumb. Set by the platform before the touch-down action and after the touch-up one.
    bool isTracking() const { return isTracking_; }
    void setTracking(bool tracking) { isTracking_ = tracking; }

private:
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
