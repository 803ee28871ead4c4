#pragma once
// Takes the pictures that a window shows while it shows them, for a recording. The screen recorder puts it over everything
// else in the scene, where it paints nothing.

#include "Platforms/QtQuick/RecordingOptions.h"

#include <QPointer>
#include <QQuickItem>
#include <QQuickItemGrabResult>
#include <QSharedPointer>
#include <QSize>
#include <QTimer>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>

namespace videoanalysis::qt {

/// Main thread. Made with its window; to be deleted when no more pictures are wanted.
class SceneCapture : public QQuickItem {
    Q_OBJECT

public:
    using Clock = std::chrono::steady_clock;
    /// A picture of `size` pixels in the order blue, green, red, anything; valid during the call. On the thread that renders,
    /// which for the software renderer is the main one.
    using Receiver = std::function<void(const std::uint8_t* pixels, QSize size, std::ptrdiff_t bytesPerRow,
                                        Clock::time_point moment)>;

    enum class Method {
        painter,      ///< from the software renderer's image, while it paints
        framebuffer,  ///< from OpenGL's, on the thread that renders
        layer  ///< from the scene rendered once more, on the thread that renders; works with every graphics interface
    };
    /// The one for the graphics interface that the window renders with.
    static Method methodFor(const QQuickWindow& window);

    /// At most `framesPerSecond` pictures a second (positive), and only what is new; the first one at once.
    SceneCapture(QQuickWindow& window, int framesPerSecond, Receiver receiver);
    SceneCapture(QQuickWindow& window, int framesPerSecond, Receiver receiver, Method method);
    ~SceneCapture() override;

    /// Any thread.
    CaptureStatistics statistics() const;

protected:
    QSGNode* updatePaintNode(QSGNode* node, UpdatePaintNodeData* data) override;

private:
    class Node;
    class Spot;
    struct Guard;

    void followWindow();
    void takeRendered();
    void frameWasShown();
    void renderLayer();
    void takeLayer(const QImage& layer, Clock::time_point moment);
    void readFramebuffer();
    bool isDue(Clock::time_point now);
    void give(const std::uint8_t* pixels, QSize size, std::ptrdiff_t bytesPerRow, Clock::time_point moment);
    void count(Clock::time_point start, double startComputed);

    const QPointer<QQuickWindow> window_;
    const Clock::duration period_;
    const Receiver receiver_;
    Spot* spot_ = nullptr;
    QTimer rest_;                                 ///< takes the last one of some changes that came too quickly
    QSharedPointer<QQuickItemGrabResult> layer_;  ///< while it is being rendered
    bool isFrameOfLayer_ = false;                 ///< the next frame has been rendered for a layer only
    Clock::time_point changed_;                   ///< when the last one that was not due came
    bool isResting_ = false;                      ///< what is painted next has been there since then
    Clock::time_point due_;                       ///< of the next picture; the rendering thread's
    std::shared_ptr<Guard> guard_;                ///< where another thread renders
    mutable std::mutex mutex_;
    CaptureStatistics statistics_;
};

}  // namespace videoanalysis::qt
