#pragma once
// The cell of one player: the video, the drawing surface over it and the scroll view that zooms both. Created from the
// template "PlayerCollectionViewCell".

#include "VideoAnalysis/Platform/UI/CollectionView.h"
#include "VideoAnalysis/Platform/UI/ScrollView.h"
#include "VideoAnalysis/Sketch/SketchView.h"
#include "VideoAnalysis/Video/GesturedScrollView.h"
#include "VideoAnalysis/Video/VideoView.h"

#include <functional>
#include <memory>

namespace videoanalysis {

class PlayerCollectionViewCell : public ui::CollectionViewCell, public ui::ScrollViewDelegate {
public:
    ui::Outlet<VideoView> playerView{outlets, "playerView"};
    ui::Outlet<SketchView> sketchView{outlets, "sketchView"};
    ui::Outlet<GesturedScrollView> playerScrollView{outlets, "playerScrollView"};

    std::string description() const override;
    void awakeFromNib() override;

    /// The zoomed view: the video, with the drawings over it.
    std::shared_ptr<ui::View> viewForZooming(ui::ScrollView& scrollView) override;

    /// Fits the sketch view to the displayed picture.
    void layOutSketchView();

protected:
    void layoutSubviews() override;
};

}  // namespace videoanalysis
