#pragma once
// The cell of one player: the video, the drawing surface over it and the scroll view that zooms both. Made from the template
// "PlayerCollectionViewCell".

#include "VideoAnalysis/Platform/UI/CollectionView.h"
#include "VideoAnalysis/Platform/UI/ScrollView.h"

#include <functional>
#include <memory>

namespace videoanalysis {

class GesturedScrollView;
class SketchView;
class VideoView;

class PlayerCollectionViewCell : public ui::CollectionViewCell, public ui::ScrollViewDelegate {
public:
    std::weak_ptr<VideoView> playerView;
    std::weak_ptr<SketchView> sketchView;
    std::weak_ptr<GesturedScrollView> playerScrollView;

    std::string description() const override;
    void connectOutlets(ui::Outlets& outlets) override;
    void awakeFromNib() override;

    /// The video; the drawings over it go with it.
    std::shared_ptr<ui::View> viewForZooming(ui::ScrollView& scrollView) override;

    /// Makes the sketch view cover exactly the picture.
    void layOutSketchView();

protected:
    void layoutSubviews() override;
};

}  // namespace videoanalysis
