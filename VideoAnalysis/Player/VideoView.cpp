#include "VideoAnalysis/Player/VideoView.h"

#include "VideoAnalysis/Platform/Platform.h"

namespace videoanalysis {

VideoView::~VideoView() { tearDown(); }

void VideoView::setURL(const std::optional<URL>& url) {
    tearDown();
    url_ = url;
    if (!url) {
        playerLayer_.setPlayer(nullptr);
        return;
    }
    media::Engine& engine = platform().media();
    const std::shared_ptr<media::PlayerItem> item = engine.makePlayerItem(*url);
    playerLayer_.setPlayer(engine.makePlayer(item));
    item->setAudioTimePitchAlgorithm(media::AudioTimePitchAlgorithm::spectral);
    itemObservation_ = item->observe([this](media::PlayerItem::Event event) { itemDidChange(event); });
    if (repeat_ == Repeat::loop) rateObservation_ = player()->observeRate([this] { rateDidChange(); });
}

void VideoView::setContentMode(ui::ContentMode mode) {
    ui::View::setContentMode(mode);
    switch (mode) {
        case ui::ContentMode::scaleAspectFit: playerLayer_.setVideoGravity(media::VideoGravity::resizeAspect); break;
        case ui::ContentMode::scaleAspectFill: playerLayer_.setVideoGravity(media::VideoGravity::resizeAspectFill); break;
        case ui::ContentMode::scaleToFill: playerLayer_.setVideoGravity(media::VideoGravity::resize); break;
    }
}

void VideoView::tearDown() {
    if (player()) player()->pause();
    itemObservation_.reset();
    rateObservation_.reset();
}

void VideoView::itemDidChange(media::PlayerItem::Event event) {
    const std::shared_ptr<View> keepAlive = shared_from_this();
    switch (event) {
        case media::PlayerItem::Event::statusChanged: {
            const std::shared_ptr<VideoViewDelegate> listener = delegate.lock();
            if (listener && player()->currentItem()->status() == media::ItemStatus::readyToPlay) {
                listener->playerReadyToPlayFor(*this);
            }
            break;
        }
        case media::PlayerItem::Event::damageFound: break;  // what can be read is shown
        case media::PlayerItem::Event::playedToEnd: itemDidPlayToEndTime(); break;
        case media::PlayerItem::Event::failedToPlayToEnd: tearDown(); break;
    }
}

void VideoView::rateDidChange() {
    const std::shared_ptr<media::PlayerItem>& item = player()->currentItem();
    const bool isAtEnd = media::compare(player()->currentTime(), item->duration()) == 0;
    if (player()->rate() == 0 && !item->isPlaybackBufferEmpty() && !isAtEnd) player()->play();
}

void VideoView::itemDidPlayToEndTime() {
    player()->seek(media::Time::zero(), media::Time::zero(), media::Time::zero());
    if (repeat_ == Repeat::loop) {
        player()->play();
    } else if (const std::shared_ptr<VideoViewDelegate> listener = delegate.lock()) {
        listener->playbackDidFinishFor(*this);
    }
}

}  // namespace videoanalysis
