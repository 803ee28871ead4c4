#pragma once
// What a finger or the mouse is doing on a view, as the component receives it. The component's gestures decide which gesture a
// touch is and move the recognizer through its states, which calls its handler.

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
    /// The view that the recognizer watches; null once it is destroyed.
    std::shared_ptr<View> view() const { return view_.lock(); }
    /// In points of `view`.
    Point location() const { return location_; }

    void setHandler(Handler handler) { handler_ = std::move(handler); }
    /// The gesture has come to `state` at `location`; calls the handler.
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
