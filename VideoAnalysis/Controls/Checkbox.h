#pragma once
// A box with a check mark and a text beside it. Usable by itself, by the component's screens and a host's; a screen's peer
// draws it.

#include "VideoAnalysis/Platform/UI/Control.h"

#include <string>

namespace videoanalysis {

/// Sends `valueChanged` when the user has pressed it. Main thread.
class Checkbox : public ui::Control {
public:
    bool isChecked() const { return isChecked_; }
    /// `animated`: the screen draws the mark stroke by stroke. Sends no action.
    void setChecked(bool checked, bool animated = false);
    /// Whether the last change is drawn stroke by stroke.
    bool isAnimated() const { return isAnimated_; }

    const std::string& title() const { return title_; }
    void setTitle(const std::string& title) { set(title_, title, ui::Property::title); }

    /// For the keyboard and assistive technology: a press and its release inside. Nothing while it is disabled.
    void press();

protected:
    void pressMoved(Point position) override { setHighlighted(covers(position)); }
    void pressEnded(Point position) override {
        if (covers(position)) press();
    }

private:
    bool isChecked_ = false;
    bool isAnimated_ = false;
    std::string title_;
};

}  // namespace videoanalysis
