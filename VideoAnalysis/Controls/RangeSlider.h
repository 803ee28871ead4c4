#pragma once
// A slider with two thumbs for a range of values. Usable by itself, by the component's screens and a host's; a screen's peer
// draws it.

#include "VideoAnalysis/Platform/UI/Control.h"

#include <functional>
#include <string>

namespace videoanalysis {

/// A press takes the nearer thumb, a drag moves it. Sends `touchDown` when a thumb is taken, `valueChanged` for every change by
/// the user, `touchUpInside` when it is let go. Main thread.
class RangeSlider : public ui::Control {
public:
    enum class Thumb { none, lower, upper };

    double minimumValue() const { return minimum_; }
    double maximumValue() const { return maximum_; }
    /// `minimum` <= `maximum`; the values follow into it. Others are put in order, ones that are not finite are ignored.
    void setRange(double minimum, double maximum);
    /// Between the thumbs; 0 at first, limited to the whole range.
    double minimumDistance() const;
    void setMinimumDistance(double distance);
    /// The values are whole multiples of this from the minimum on, or the maximum; 0 for any value.
    double step() const { return step_; }
    void setStep(double step);

    /// minimumValue <= lowerValue <= upperValue <= maximumValue.
    double lowerValue() const { return lower_; }
    double upperValue() const { return upper_; }
    /// Neither moves the other one; each stops at the minimum distance.
    void setLowerValue(double value);
    void setUpperValue(double value);

    Thumb trackedThumb() const { return tracked_; }

    /// The text beside the thumbs and for assistive technology; the value with at most two decimals by default.
    std::function<std::string(double)> textOfValue;
    std::string textOf(double value) const;

    /// Where the thumbs are, 0...1 of their way.
    double lowerFraction() const { return fractionOf(lower_); }
    double upperFraction() const { return fractionOf(upper_); }
    /// How far from both ends of the view the thumbs' way begins, in points. Set by the platform, which draws it.
    double trackInset() const { return trackInset_; }
    void setTrackInset(double inset) { trackInset_ = inset; }
    /// For the keyboard and assistive technology: moves a thumb by `steps` steps, or hundredths of the range without a step.
    /// Nothing while a pointer holds a thumb.
    void nudge(Thumb thumb, int steps);

protected:
    void pressBegan(Point position) override { beginTracking(fractionAt(position)); }
    void pressMoved(Point position) override { track(fractionAt(position)); }
    void pressEnded(Point) override { endTracking(); }
    void pressCancelled() override { endTracking(); }

private:
    double fractionAt(Point position) const;
    /// Takes the nearer thumb; of two in one place, the one that can still move there.
    void beginTracking(double fraction);
    void track(double fraction);
    void endTracking();
    double fractionOf(double value) const;
    double onStep(double value) const;
    bool move(Thumb thumb, double value);
    void settle();

    double minimum_ = 0;
    double maximum_ = 1;
    double distance_ = 0;
    double step_ = 0;
    double lower_ = 0;
    double upper_ = 1;
    Thumb tracked_ = Thumb::none;
    double grip_ = 0;  // from the pointer to the thumb, a fraction
    double trackInset_ = 0;
};

}  // namespace videoanalysis
