#pragma once
// The item of a video view: it paints the frame that the view's player shows, scaled to the pixels of the screen, and
// says in what state the clip is, so that the layout can stand in for a picture that is not there.

#include "Platforms/QtQuick/ViewItem.h"

#include <QTimer>

#include <cstdint>
#include <memory>

namespace videoanalysis {
class VideoView;
namespace media {
class Player;
class VideoFrame;
}  // namespace media
}  // namespace videoanalysis

namespace videoanalysis::qt {

/// "VideoView" in QML. Main thread.
class VideoViewItem : public ViewItem {
    Q_OBJECT
    Q_PROPERTY(Status status READ status NOTIFY statusChanged)
    /// The clip's file name, without the folder.
    Q_PROPERTY(QString clipName READ clipName NOTIFY statusChanged)
    /// Why the clip cannot be shown, one line; empty for one that can.
    Q_PROPERTY(QString failure READ failure NOTIFY statusChanged)
    /// How much larger than its own size the item is shown, 1 or more.
    Q_PROPERTY(double zoom READ zoom WRITE setZoom NOTIFY zoomChanged)

public:
    /// Named as QML asks for it.
    enum class Status {
        Empty,    ///< no clip
        Loading,  ///< a clip whose first picture is not there yet
        Ready,
        Failed,  ///< the clip cannot be read
        /// Playback has just come to a point where the clip cannot be read any further. Over when another frame is shown,
        /// and after a few seconds.
        BrokenOff,
    };
    Q_ENUM(Status)

    explicit VideoViewItem(QQuickItem* parent = nullptr);
    ~VideoViewItem() override;

    Status status() const { return status_; }
    QString clipName() const;
    QString failure() const;
    double zoom() const { return zoom_; }
    void setZoom(double zoom);

    void viewDidChange(ui::View& view, ui::Property property) override;

Q_SIGNALS:
    void statusChanged();
    void zoomChanged();

protected:
    QSGNode* updatePaintNode(QSGNode* node, UpdatePaintNodeData* data) override;
    void geometryChange(const QRectF& newGeometry, const QRectF& oldGeometry) override;
    void itemChange(ItemChange change, const ItemChangeData& value) override;

private:
    VideoView* videoView() const;
    void followLayer();
    void updateStatus();
    void frameDidChange();
    void breakOff();
    QSize sizeForZoom(const media::VideoFrame& frame, QSize unzoomed) const;

    std::shared_ptr<media::Player> player_;
    std::shared_ptr<void> frameObservation_;
    std::shared_ptr<void> itemObservation_;
    Status status_ = Status::Empty;
    bool hasBrokenOff_ = false;
    std::int64_t brokenOffFrame_ = 0;  // the frame that is shown where the clip has broken off
    QTimer brokenOffTimer_;
    double zoom_ = 1;

    /// What the texture shows, so that the same picture is not scaled twice.
    std::shared_ptr<const media::VideoFrame> shownFrame_;
    QSize shownSize_;
};

}  // namespace videoanalysis::qt
