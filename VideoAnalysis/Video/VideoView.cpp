#include "VideoAnalysis/Video/VideoView.h"

#include "VideoAnalysis/Platform/Platform.h"

namespace videoanalysis {

VideoView::~VideoView() { tearDown(); }

void VideoView::setURL(const std::optional<URL>& url) {
    tearDown();
    url_ = url;
    rangeStart_ = {};
    if (!url) {
        playerLayer_.setPlayer(nullptr);
        return;
    }
    media::Engine& engine = platform().media();
    const std::shared_ptr<media::PlayerItem> item = engine.makePlayerItem(*url);
    playerLayer_.setPlayer(engine.makePlayer(item));
    item->setAudioTimePitchAlgorithm(media::AudioTimePitchAlgorithm::spectral);
    observe();
}

void VideoView::observe() {
    if (itemObservation_ || !player()) return;
    itemObservation_ =
        player()->currentItem()->observe([this](media::PlayerItem::Event event) { itemDidChange(event); });
    if (repeat_ == Repeat::loop) rateObservation_ = player()->observeRate([this] { rateDidChange(); });
}

void VideoView::play(float rate) {
    observe();  // a clip that has broken off may be played again
    if (player()) player()->setRate(rate);
}

void VideoView::setPlaybackRange(const media::Time& start, const media::Time& end) {
    if (!player()) return;
    rangeStart_ = start;
    player()->setPlaybackRange(start, end);
}

std::string VideoView::clipName() const {
    if (!url_) return {};
    std::string name = url_->path();
    if (name.empty()) name = url_->absoluteString().substr(0, url_->absoluteString().find_first_of("?#"));
    return name.substr(name.rfind('/') + 1);
}

std::string VideoView::failureReason() const {
    if (!player() || player()->currentItem()->status() != media::ItemStatus::failed) return {};
    // The description is written for a log, with the whole URL in front.
    std::string reason = player()->currentItem()->errorDescription();
    const std::string prefix = player()->currentItem()->url().absoluteString() + ": ";
    if (const std::size_t found = reason.find(prefix); found != std::string::npos)
        reason.erase(0, found + prefix.size());
    if (!reason.empty() && reason[0] >= 'a' && reason[0] <= 'z') reason[0] = static_cast<char>(reason[0] - 'a' + 'A');
    return reason;
}

void VideoView::setContentMode(ui::ContentMode mode) {
    ui::View::setContentMode(mode);
    switch (mode) {
        case ui::ContentMode::scaleAspectFit: playerLayer_.setVideoGravity(media::VideoGravity::resizeAspect); break;
        case ui::ContentMode::scaleAspectFill:
            playerLayer_.setVideoGravity(media::VideoGravity::resizeAspectFill);
            break;
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
    const std::shared_ptr<VideoViewDelegate> listener = delegate.lock();
    switch (event) {
        case media::PlayerItem::Event::statusChanged: {
            const media::ItemStatus status = player()->currentItem()->status();
            if (listener && status == media::ItemStatus::readyToPlay) listener->playerReadyToPlayFor(*this);
            if (listener && status == media::ItemStatus::failed) listener->playerDidFailFor(*this);
            break;
        }
        case media::PlayerItem::Event::damageFound: break;  // what can be read is shown
        case media::PlayerItem::Event::playedToEnd: itemDidPlayToEndTime(); break;
        case media::PlayerItem::Event::failedToPlayToEnd:
            tearDown();
            if (listener) listener->playbackDidBreakOffFor(*this);
            break;
    }
}

void VideoView::rateDidChange() {
    const std::shared_ptr<media::PlayerItem>& item = player()->currentItem();
    const bool isAtEnd = media::compare(player()->currentTime(), item->duration()) == 0;
    if (player()->rate() == 0 && !item->isPlaybackBufferEmpty() && !isAtEnd) player()->play();
}

void VideoView::itemDidPlayToEndTime() {
    const media::Time start = rangeStart_.isValid() ? rangeStart_ : media::Time::zero();
    player()->seek(start, media::Time::zero(), media::Time::zero());
    if (repeat_ == Repeat::loop) {
        player()->play();
    } else if (const std::shared_ptr<VideoViewDelegate> listener = delegate.lock()) {
        listener->playbackDidFinishFor(*this);
    }
}

}  // namespace videoanalysis
