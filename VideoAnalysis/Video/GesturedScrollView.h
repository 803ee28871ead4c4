#pragma once
// The zooming container of one player's picture. Its gestures decide what pointers mean; pans become strokes on the sketch view
// that lies over the video, pinches zoom and move the picture.

#include "VideoAnalysis/Platform/UI/GestureRecognizer.h"
#include "VideoAnalysis/Platform/UI/ScrollView.h"
#include "VideoAnalysis/Video/PictureGestures.h"

#include <functional>
#include <memory>
#include <optional>
#include <span>

namespace videoanalysis {

class SketchView;

class GesturedScrollView : public ui::ScrollView {
public:
    /// The surface that pans draw on.
    std::weak_ptr<SketchView> sketchView;
    /// Whether a pan that begins now may draw. Empty for always.
    std::function<bool()> shouldBeginDrawing;
    /// Called before each stroke begins, so that the owner can set up the tool. May be empty.
    std::function<void()> willBeginDrawing;
    /// Called when a stroke has been taken back. May be empty.
    std::function<void()> didCancelDrawing;
    /// Called for a touch that did not move. May be empty.
    std::function<void()> didTap;
    /// Called when a finger or a mouse button comes down on the picture. May be empty.
    std::function<void()> didTouch;

    std::optional<Point> previousLocation;
    /// Made on first use. The gestures feed it with what one finger or the left mouse button does.
    const std::shared_ptr<ui::PanGestureRecognizer>& customPanGestureRecognizer();

    /// A pan that begins outside the sketch view draws nothing. A stroke begins with the first movement, so a still touch
    /// leaves nothing behind; one that is cancelled is taken back.
    void handlePan(ui::GestureRecognizer& recognizer);
    bool handlePointers(std::span<const ui::PointerEvent> events) override;
    /// The wheel zooms while Control is held down; other turns of it are left to what lies below.
    bool handleWheel(const ui::WheelEvent& event) override;
    bool handleMagnify(const ui::MagnifyEvent& event) override;

    // For the gestures.

    /// The zoom changes by `factor`, within its range, and what lies under `anchor` (points of this view)
    /// stays there as far as the picture's edges allow.
    void zoom(double factor, Point anchor);
    /// The picture is moved by `translation` points, as far as it is larger than this view.
    void move(Point translation);
    /// Zooming has come to rest. The drawings are made as fine as they are shown.
    void zoomDidEnd();
    /// Back to the whole picture.
    void resetZoom();
    /// A touch has come and gone without moving.
    void tap();

protected:
    void boundsDidChange(const Rect& old) override;

private:
    Point limited(Point offset) const;

    std::shared_ptr<ui::PanGestureRecognizer> pan_;
    bool isDrawing_ = false;
    PictureGestures gestures_{*this};
};

}  // namespace videoanalysis
