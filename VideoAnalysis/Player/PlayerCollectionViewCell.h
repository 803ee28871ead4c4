#pragma once
// The cell of one player: the video, the drawing surface over it and the scroll view that zooms both. Made from the template
// "PlayerCollectionViewCell".

#include "VideoAnalysis/Platform/UI/CollectionView.h"

#include <functional>
#include <memory>

namespace videoanalysis {

class GesturedScrollView;
class SketchView;
class VideoView;

class PlayerCollectionViewCell : public ui::CollectionViewCell {
public:
    std::weak_ptr<VideoView> playerView;
    std::weak_ptr<SketchView> sketchView;
    std::weak_ptr<GesturedScrollView> playerScrollView;

    std::string description() const override;
    void connectOutlets(ui::Outlets& outlets) override;
    void awakeFromNib() override;

    /// Makes the sketch view cover exactly the picture.
    void layOutSketchView();

protected:
    void layoutSubviews() override;
};

}  // namespace videoanalysis
