#pragma once
// The crop view: a mask of a given aspect ratio in the middle, and the picture that is moved and zoomed beneath it. The trim
// screen shows the clip in it and cuts out what the mask shows; a screen's peer paints it.

#include "VideoAnalysis/Platform/UI/View.h"
#include "VideoAnalysis/Trimming/CropGestures.h"

#include <array>
#include <span>

namespace videoanalysis {

/// Main thread. Rectangles are in the view's points unless something else is said.
class CropView : public ui::View {
public:
    enum class Aspect { free = 0, square = 1, portrait4To5 = 2, landscape16To9 = 3, portrait9To16 = 4 };
    static constexpr std::array allAspects = {Aspect::free, Aspect::square, Aspect::portrait4To5,
                                              Aspect::landscape16To9, Aspect::portrait9To16};
    /// Width over height; 0 for free.
    static double ratioOf(Aspect aspect);

    /// In pixels, upright. The mask then shows the whole picture, as far as the aspect allows.
    Size pictureSize() const { return pictureSize_; }
    void setPictureSize(Size size);

    bool isCropping() const { return isCropping_; }
    /// Without cropping the picture fits into the view and there is no mask; what the mask showed is remembered.
    void setCropping(bool cropping);
    Aspect aspect() const { return aspect_; }
    /// The mask becomes as large as the picture allows around what is in its middle. From the whole picture in the picture's
    /// own shape, `free` starts.
    void setAspect(Aspect aspect);

    /// Locked, the picture and the corners cannot be moved; a corner that is being moved is let go.
    bool isLocked() const { return isLocked_; }
    void setLocked(bool locked);

    /// What the mask shows, in fractions of the picture's sides; the whole picture without cropping.
    Rect crop() const;
    /// Where the picture is; it may reach out of the view.
    Rect pictureRect() const;
    Rect maskRect() const;

    /// Without cropping, pointers and the wheel are left to what lies below. The wheel zooms.
    bool handlePointers(std::span<const ui::PointerEvent> events) override;
    bool handleWheel(const ui::WheelEvent& event) override;

    // For the gestures and the keyboard; nothing without cropping or while locked.

    /// Moves the picture by this many points, as far as it fills the mask.
    void pan(double dx, double dy);
    /// Makes the picture `factor` times larger around `anchor`.
    void zoom(double factor, Point anchor);
    using Corner = CropCorner;
    /// Moves a corner of a free mask to `point`; until the end the picture stays, then the mask goes back to the middle.
    void moveCorner(Corner corner, Point point);
    void endMovingCorner();

    /// Between the mask and the edges of the view, in points.
    static constexpr double margin = 16;
    /// Relative to the size at which the picture fits into the view.
    static constexpr double maxZoom = 4;

protected:
    void boundsDidChange(const Rect& old) override;

private:
    Rect area() const;
    Rect fitted(Size size) const;
    void setCrop(const Rect& crop);
    void updateLayout();
    double minSide() const;

    Size pictureSize_;
    bool isCropping_ = false;
    Aspect aspect_ = Aspect::free;
    Rect crop_{0, 0, 1, 1};  // in fractions
    Rect mask_;
    Rect picture_;
    bool isMovingCorner_ = false;
    bool isLocked_ = false;
    CropGestures gestures_{*this};
};

}  // namespace videoanalysis
