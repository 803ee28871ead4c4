#include "VideoAnalysis/Player/PlayerCollectionViewCell.h"

#include "VideoAnalysis/Sketch/SketchView.h"
#include "VideoAnalysis/Video/GesturedScrollView.h"
#include "VideoAnalysis/Video/VideoView.h"

#include <sstream>

namespace videoanalysis {
namespace {

constexpr double maxZoom = 8;

}  // namespace

std::string PlayerCollectionViewCell::description() const {
    std::ostringstream text;
    text << "PlayerCollectionViewCell " << static_cast<const void*>(this);
    return text.str();
}

void PlayerCollectionViewCell::awakeFromNib() {
    const auto scroll = playerScrollView.required();
    scroll->sketchView = sketchView;
    scroll->setZoomRange(1, maxZoom);
    scroll->setDelegate(std::static_pointer_cast<PlayerCollectionViewCell>(shared_from_this()));
}

std::shared_ptr<ui::View> PlayerCollectionViewCell::viewForZooming(ui::ScrollView&) { return playerView.lock(); }

void PlayerCollectionViewCell::layOutSketchView() {
    const auto video = playerView.lock();
    const auto sketch = sketchView.lock();
    if (video && sketch) sketch->setFrame(video->pictureRect());
}

void PlayerCollectionViewCell::layoutSubviews() { layOutSketchView(); }

}  // namespace videoanalysis
