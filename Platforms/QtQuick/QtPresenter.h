#pragma once
// Shows the component's screens in one window: a presented screen over the item of the host's screen, as its presentation
// style wants it, and the overlay over those. `QtQuickPlatform` owns it; the component's controllers reach it through
// `present`, `dismiss` and the overlay window.

#include "Platforms/QtQuick/KeyboardFocus.h"
#include "VideoAnalysis/Platform/UI/PresentationStack.h"

#include <QObject>
#include <QPointer>
#include <QQuickWindow>

#include <memory>

namespace videoanalysis::qt {

/// Main thread.
class QtPresenter : public QObject, public ui::PresentationStack {
public:
    explicit QtPresenter(QQuickWindow& window);

    void setPreferredOrientation(ui::DeviceOrientation orientation) override;

    /// Keys that no focused item has handled, and the window's events.
    bool eventFilter(QObject* watched, QEvent* event) override;

protected:
    std::unique_ptr<ui::ScreenPeer> makePeer(const ui::Presentation& presentation) override;
    Size windowSize() const override;
    double fadeDuration() const override;

private:
    const QPointer<QQuickWindow> window_;
    KeyboardFocus focus_;
};

}  // namespace videoanalysis::qt
