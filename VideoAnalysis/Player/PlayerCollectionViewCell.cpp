#include "VideoAnalysis/Player/PlayerCollectionViewCell.h"

#include "VideoAnalysis/Player/GesturedScrollView.h"
#include "VideoAnalysis/Player/VideoView.h"
#include "VideoAnalysis/Sketch/SketchView.h"

#include <sstream>

namespace videoanalysis {

std::string PlayerCollectionViewCell::description() const {
    std::ostringstream text;
    text << "PlayerCollectionViewCell " << static_cast<const void*>(this);
    return text.str();
}

void PlayerCollectionViewCell::connectOutlets(ui::Outlets& outlets) {
    outlets.connect("playerView", playerView);
    outlets.connect("sketchView", sketchView);
    outlets.connect("playerScrollView", playerScrollView);
}

void PlayerCollectionViewCell::awakeFromNib() {
    ui::required(playerScrollView, "playerScrollView")->sketchView = sketchView;
}

void PlayerCollectionViewCell::layOutSketchView() {
    const auto video = playerView.lock();
    const auto sketch = sketchView.lock();
    if (video && sketch) sketch->setFrame(video->pictureRect());
}

void PlayerCollectionViewCell::layoutSubviews() { layOutSketchView(); }

}  // namespace videoanalysis
