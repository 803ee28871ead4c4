#pragma once
// What a finger or the mouse is doing on a view, as the component hears of it. The platform decides which gesture a touch
// is, moves the recogniser through its states and thereby calls its handler.

#include "VideoAnalysis/Platform/Geometry.h"

#include <functional>
#include <memory>

namespace videoanalysis::ui {

class View;

enum class GestureState { possible, began, changed, ended, cancelled, failed };

class GestureRecognizer {
public:
    using Handler = std::function<void(GestureRecognizer& recognizer)>;

    explicit GestureRecognizer(std::weak_ptr<View> view) : view_(std::move(view)) {}
    virtual ~GestureRecognizer() = default;

    GestureState state() const { return state_; }
    /// The view that the recogniser watches; null once it is gone.
    std::shared_ptr<View> view() const { return view_.lock(); }
    /// In the recogniser's view's points.
    Point location() const { return location_; }

    void setHandler(Handler handler) { handler_ = std::move(handler); }
    /// For the platform: the gesture has come to `state` at `location`; the handler is called.
    void update(GestureState state, Point location) {
        state_ = state;
        location_ = location;
        if (handler_) handler_(*this);
    }

private:
    std::weak_ptr<View> view_;
    GestureState state_ = GestureState::possible;
    Point location_;
    Handler handler_;
};

class PanGestureRecognizer : public GestureRecognizer {
public:
    using GestureRecognizer::GestureRecognizer;
};

class LongPressGestureRecognizer : public GestureRecognizer {
public:
    using GestureRecognizer::GestureRecognizer;
};

}  // namespace videoanalysis::ui
