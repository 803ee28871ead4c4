#pragma once
// A view holds what a screen shows of it (place, visibility, colours) and tells one observer when that changes; it does not
// paint. The component sets the properties, a platform's peer shows them and feeds the user's input back.

#include "VideoAnalysis/Platform/Color.h"
#include "VideoAnalysis/Platform/Geometry.h"
#include "VideoAnalysis/Platform/UI/PointerEvent.h"

#include <memory>
#include <span>
#include <string>
#include <vector>

namespace videoanalysis::ui {

/// How a picture fits a view; the numbers are part of the stored table of fill modes.
enum class ContentMode { scaleToFill = 0, scaleAspectFit = 1, scaleAspectFill = 2 };

/// What has changed about a view.
enum class Property {
    frame,
    isHidden,
    alpha,
    tintColor,
    backgroundColor,
    rotation,
    contentMode,
    isEnabled,
    isSelected,
    isHighlighted,
    title,
    titleColor,
    image,
    text,
    value,
    contentOffset,
    contentSize,
    isDecelerating,
    zoomScale,
    contentScale,
    visibleCells,
    other,
};

class View;

/// A view's peer on a screen. All calls on the main thread; it must not change the view from inside them.
class ViewObserver {
public:
    virtual ~ViewObserver() = default;
    virtual void viewDidChange(View& view, Property property) = 0;
    /// `rect`, in the view's own points, must be painted again (only views that draw themselves).
    virtual void viewNeedsDisplay(View&, const Rect& /*rect*/) {}
};

/// Whatever a platform wants to keep alive for exactly as long as a view.
class Peer {
public:
    virtual ~Peer() = default;
};

/// Always made with `std::make_shared`. Main thread.
class View : public std::enable_shared_from_this<View> {
public:
    View() = default;
    explicit View(const Rect& frame) : frame_(frame) {}
    virtual ~View();
    View(const View&) = delete;
    View& operator=(const View&) = delete;

    /// In the superview's points.
    const Rect& frame() const { return frame_; }
    void setFrame(const Rect& frame);
    /// The view's own rectangle, its origin at (0, 0).
    Rect bounds() const { return {{}, frame_.size}; }
    Point center() const { return frame_.center(); }
    /// Keeps the size.
    void setCenter(Point center);

    bool isHidden() const { return isHidden_; }
    void setHidden(bool hidden) { set(isHidden_, hidden, Property::isHidden); }
    /// 0...1.
    double alpha() const { return alpha_; }
    void setAlpha(double alpha) { set(alpha_, alpha, Property::alpha); }
    /// Changes alpha over `seconds`; the property has the new value at once, the screen follows.
    void animateAlpha(double alpha, double seconds);
    /// How long the last change of alpha takes on the screen, in seconds; 0 for at once.
    double alphaAnimationDuration() const { return alphaAnimationDuration_; }
    const Color& tintColor() const { return tintColor_; }
    void setTintColor(const Color& color) { set(tintColor_, color, Property::tintColor); }
    const Color& backgroundColor() const { return backgroundColor_; }
    void setBackgroundColor(const Color& color) { set(backgroundColor_, color, Property::backgroundColor); }
    /// Radians, clockwise on the screen, about the centre.
    double rotation() const { return rotation_; }
    void setRotation(double radians) { set(rotation_, radians, Property::rotation); }
    virtual ContentMode contentMode() const { return contentMode_; }
    virtual void setContentMode(ContentMode mode) { set(contentMode_, mode, Property::contentMode); }
    int tag() const { return tag_; }
    void setTag(int tag) { tag_ = tag; }

    /// The views above and below; a view owns its subviews.
    std::shared_ptr<View> superview() const { return superview_.lock(); }
    const std::vector<std::shared_ptr<View>>& subviews() const { return subviews_; }
    void addSubview(const std::shared_ptr<View>& view);
    void removeFromSuperview();

    /// Asks for `layoutSubviews` in a later turn of the main queue.
    void setNeedsLayout();
    /// Runs a layout that is due, of this view and of those below it, now.
    void layoutIfNeeded();

    void setNeedsDisplay() { setNeedsDisplay(bounds()); }
    void setNeedsDisplay(const Rect& rect);
    /// Paints `rect` into the current graphics context. Most views leave painting to their peer.
    virtual void draw(const Rect& /*rect*/) {}

    // Input. The platform passes what happens over the view; each call returns whether the view has a use for it, and a press
    // that it has no use for goes to what lies below. Pointers that were pressed here are passed on until they have ended.

    /// Pointers that change together, such as two fingers that move at once, come in one call.
    virtual bool handlePointers(std::span<const PointerEvent>) { return false; }
    virtual bool handleWheel(const WheelEvent&) { return false; }
    virtual bool handleMagnify(const MagnifyEvent&) { return false; }

    /// Not owned; null when no screen shows the view. The observer must outlive the view or take itself away.
    void setObserver(ViewObserver* observer) { observer_ = observer; }
    ViewObserver* observer() const { return observer_; }
    /// Released with the view.
    void setPeer(std::shared_ptr<Peer> peer) { peer_ = std::move(peer); }
    const std::shared_ptr<Peer>& peer() const { return peer_; }

protected:
    virtual void layoutSubviews() {}
    /// The size is about to change to that of `newBounds`.
    virtual void boundsWillChange(const Rect& /*newBounds*/) {}
    /// The size has changed from `old`; called after the change and before the observer.
    virtual void boundsDidChange(const Rect& /*old*/) {}
    void notify(Property property);

    template <class T>
    void set(T& field, const T& value, Property property) {
        if (field == value) return;
        field = value;
        notify(property);
    }

private:
    Rect frame_;
    bool isHidden_ = false;
    double alpha_ = 1;
    double alphaAnimationDuration_ = 0;
    Color tintColor_ = Color::white();
    Color backgroundColor_ = Color::clear();
    double rotation_ = 0;
    ContentMode contentMode_ = ContentMode::scaleToFill;
    int tag_ = 0;
    bool needsLayout_ = false;
    std::weak_ptr<View> superview_;
    std::vector<std::shared_ptr<View>> subviews_;
    ViewObserver* observer_ = nullptr;
    std::shared_ptr<Peer> peer_;
};

}  // namespace videoanalysis::ui
