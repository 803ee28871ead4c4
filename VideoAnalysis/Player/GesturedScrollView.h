#pragma once
// The zooming container of one player's picture. It turns the pans of one finger or the mouse into strokes on the sketch view
// that lies over the video.

#include "VideoAnalysis/Platform/UI/GestureRecognizer.h"
#include "VideoAnalysis/Platform/UI/ScrollView.h"

#include <functional>
#include <memory>
#include <optional>

namespace videoanalysis {

class SketchView;

class GesturedScrollView : public ui::ScrollView {
public:
    /// The surface that pans draw on.
    std::weak_ptr<SketchView> sketchView;
    /// Called before each stroke begins, so that the owner can set up the tool. May be empty.
    std::function<void()> willBeginDrawing;
    /// Called for a touch that did not move. May be empty.
    std::function<void()> didTap;

    std::optional<Point> previousLocation;
    /// Made on first use. The platform feeds it with what one finger or the left mouse button does.
    const std::shared_ptr<ui::PanGestureRecognizer>& customPanGestureRecognizer();

    /// A pan that begins outside the sketch view draws nothing. A stroke begins with the first movement, so a still touch
    /// leaves nothing behind.
    void handlePan(ui::GestureRecognizer& recognizer);
    /// For the platform: a touch has come and gone without moving.
    void tap();

private:
    std::shared_ptr<ui::PanGestureRecognizer> pan_;
    bool isDrawing_ = false;
};

}  // namespace videoanalysis
