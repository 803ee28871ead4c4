#include "Platforms/QtQuick/QtPresenter.h"

#include "Platforms/QtQuick/Motion.h"
#include "Platforms/QtQuick/QtScreen.h"

#include <QKeyEvent>

#include <memory>
#include <optional>

namespace videoanalysis::qt {
namespace {

constexpr int fadeMilliseconds = 200;

/// Nothing for keys that no screen knows.
std::optional<ui::KeyPress> keyPress(const QKeyEvent& event) {
    const auto known = [&event]() -> std::optional<ui::Key> {
        switch (event.key()) {
            case Qt::Key_Space: return ui::Key::space;
            case Qt::Key_Left: return ui::Key::left;
            case Qt::Key_Right: return ui::Key::right;
            case Qt::Key_Home: return ui::Key::home;
            case Qt::Key_End: return ui::Key::end;
            case Qt::Key_Z: return ui::Key::z;
            case Qt::Key_F: return ui::Key::f;
            case Qt::Key_BracketLeft: return ui::Key::leftBracket;
            case Qt::Key_BracketRight: return ui::Key::rightBracket;
            case Qt::Key_Escape: return ui::Key::escape;
            default: return std::nullopt;
        }
    };
    const std::optional<ui::Key> key = known();
    if (!key || (event.modifiers() & (Qt::AltModifier | Qt::MetaModifier))) return std::nullopt;
    // Held down, a key steps on; what it switches, it switches once.
    const bool steps = *key == ui::Key::left || *key == ui::Key::right;
    if (event.isAutoRepeat() && !steps) return std::nullopt;
    return ui::KeyPress{*key, event.modifiers().testFlag(Qt::ShiftModifier),
                        event.modifiers().testFlag(Qt::ControlModifier)};
}

}  // namespace

QtPresenter::QtPresenter(QQuickWindow& window) : window_(&window), focus_(window, *this) {
    connect(window.contentItem(), &QQuickItem::widthChanged, this, [this] { layOutLater(); });
    connect(window.contentItem(), &QQuickItem::heightChanged, this, [this] { layOutLater(); });
    connect(&window, &QQuickWindow::activeFocusItemChanged, this, [this] { focus_.keepOnTop(); });
    window.contentItem()->installEventFilter(this);  // a key that no item has a use for ends there
    window.installEventFilter(this);
}

bool QtPresenter::eventFilter(QObject* watched, QEvent* event) {
    if (watched == window_) {
        focus_.noteInput(*event);
    } else if (event->type() == QEvent::KeyPress) {
        const std::optional<ui::KeyPress> press = keyPress(static_cast<const QKeyEvent&>(*event));
        if (press && keyPressed(*press)) return true;
    }
    return QObject::eventFilter(watched, event);
}

/// The user turns a desktop's window, not the program. A content orientation is no request either: a window system that
/// gets one turns the content, and dialogs with it.
void QtPresenter::setPreferredOrientation(ui::DeviceOrientation) {}

std::unique_ptr<ui::ScreenPeer> QtPresenter::makePeer(const ui::Presentation& presentation) {
    return std::make_unique<QtScreen>(presentation, window_, focus_);
}

Size QtPresenter::windowSize() const {
    if (!window_) return {};
    return {window_->contentItem()->width(), window_->contentItem()->height()};
}

double QtPresenter::fadeDuration() const { return Motion::shared().duration(fadeMilliseconds) / 1000.0; }

}  // namespace videoanalysis::qt
