// Runs the screen suites against the Qt Quick platform.

#include "Testing/ScreenConformance.h"

#include "Platforms/Cairo/CairoEngine.h"
#include "Platforms/Headless/HeadlessMedia.h"
#include "Platforms/QtQuick/QtQuickPlatform.h"
#include "Platforms/QtQuick/ViewItem.h"
#include "Testing/ScreenDriver.h"

#include <QQuickWindow>
#include <QTest>

#include <map>

namespace videoanalysis::conformance {
namespace {

/// Shows a view that no layout has made.
class ProbeItem final : public qt::ViewItem {
public:
    ProbeItem(const std::shared_ptr<ui::View>& view, QQuickItem* parent) : ViewItem(view, parent) {
        setAcceptedMouseButtons(Qt::AllButtons);
        setAcceptTouchEvents(true);
    }
};

int qtKey(ui::Key key) {
    switch (key) {
        case ui::Key::space: return Qt::Key_Space;
        case ui::Key::left: return Qt::Key_Left;
        case ui::Key::right: return Qt::Key_Right;
        case ui::Key::home: return Qt::Key_Home;
        case ui::Key::end: return Qt::Key_End;
        case ui::Key::z: return Qt::Key_Z;
        case ui::Key::f: return Qt::Key_F;
        case ui::Key::leftBracket: return Qt::Key_BracketLeft;
        case ui::Key::rightBracket: return Qt::Key_BracketRight;
        case ui::Key::escape: return Qt::Key_Escape;
    }
    return Qt::Key_unknown;
}

Qt::MouseButton qtButton(ui::PointerButton button) {
    switch (button) {
        case ui::PointerButton::none: return Qt::NoButton;
        case ui::PointerButton::left: return Qt::LeftButton;
        case ui::PointerButton::middle: return Qt::MiddleButton;
        case ui::PointerButton::right: return Qt::RightButton;
    }
    return Qt::NoButton;
}

class QtQuickSubject final : public InteractiveScreenSubject {
public:
    explicit QtQuickSubject(bool isShown) {
        window_.resize(800, 600);
        platform_ = std::make_shared<QtQuickPlatform>(window_, std::make_unique<HeadlessMedia>(clipQueue_),
                                                      std::make_unique<graphics::CairoEngine>());
        installPlatform(platform_);
        if (!isShown) return;
        window_.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&window_));
    }

    Platform& platform() override { return *platform_; }
    bool wait(const std::function<bool()>& isDone) override { return host::ScreenDriver::wait(isDone); }
    std::shared_ptr<ui::ViewController> startScreen() override {
        return platform_->viewController(*window_.contentItem());
    }

    void resize(Size size) override { window_.resize(static_cast<int>(size.width), static_cast<int>(size.height)); }
    void show(const std::shared_ptr<ui::View>& view, const Rect& frame) override {
        items_.push_back(std::make_unique<ProbeItem>(view, window_.contentItem()));
        items_.back()->setPosition({frame.origin.x, frame.origin.y});
        items_.back()->setSize({frame.size.width, frame.size.height});
    }

    void touch(std::span<const ui::PointerEvent> fingers) override {
        for (auto& [id, state] : fingers_) state.state = QEventPoint::Stationary;
        for (const ui::PointerEvent& event : fingers) {
            const auto id = static_cast<int>(event.pointer);
            const QEventPoint::State state = event.phase == ui::PointerPhase::began   ? QEventPoint::Pressed
                                             : event.phase == ui::PointerPhase::moved ? QEventPoint::Updated
                                                                                      : QEventPoint::Released;
            fingers_[id] = {id, state, QPointF(event.position.x, event.position.y)};
        }
        std::vector<host::Finger> all;
        for (const auto& [id, each] : fingers_) all.push_back(each);
        driver_.touch(all);
        std::erase_if(fingers_, [](const auto& entry) { return entry.second.state == QEventPoint::Released; });
    }
    void cancelTouches() override {
        for (const auto& item : items_) item->ungrabTouchPoints();
        fingers_.clear();
    }
    void mouse(ui::PointerPhase phase, ui::PointerButton button, Point position) override {
        const QPointF point(position.x, position.y);
        if (phase == ui::PointerPhase::began) driver_.pressMouse(point, qtButton(button));
        if (phase == ui::PointerPhase::moved) driver_.moveMouse(point);
        if (phase == ui::PointerPhase::ended) driver_.releaseMouse(point, qtButton(button));
    }
    void wheel(Point position, int notches, bool isControlDown) override {
        driver_.turnWheel({position.x, position.y}, notches, isControlDown ? Qt::ControlModifier : Qt::NoModifier);
    }
    void press(const ui::KeyPress& key) override {
        Qt::KeyboardModifiers modifiers;
        modifiers.setFlag(Qt::ShiftModifier, key.isShiftDown);
        modifiers.setFlag(Qt::ControlModifier, key.isControlDown);
        QTest::keyClick(&window_, static_cast<Qt::Key>(qtKey(key.key)), modifiers);
    }
    void rest(double seconds) override { host::ScreenDriver::rest(seconds); }
    Bitmap picture() override {
        EXPECT_TRUE(driver_.waitUntilIdle());
        const QImage image = driver_.grab().convertToFormat(QImage::Format_ARGB32_Premultiplied);
        Bitmap bitmap(image.width(), image.height(), 1);
        for (int y = 0; y < image.height(); ++y) {
            const auto* row = reinterpret_cast<const std::uint32_t*>(image.constScanLine(y));
            std::copy(row, row + image.width(), bitmap.pixels.begin() + y * std::ptrdiff_t{image.width()});
        }
        return bitmap;
    }

private:
    HeadlessMainQueue clipQueue_;  // no clip is played
    QQuickWindow window_;
    std::shared_ptr<QtQuickPlatform> platform_;
    const host::ScreenDriver driver_{window_};
    std::vector<std::unique_ptr<ProbeItem>> items_;
    std::map<int, host::Finger> fingers_;
};

// Nothing here depends on frames being painted.
const ScreenBackend unseen{"QtQuick", [] { return std::make_unique<QtQuickSubject>(false); }};
const InteractiveScreenBackend shown{"QtQuick", [] { return std::make_unique<QtQuickSubject>(true); }};

INSTANTIATE_TEST_SUITE_P(QtQuick, ScreenConformance, testing::Values(unseen));
INSTANTIATE_TEST_SUITE_P(QtQuick, ScreenInputConformance, testing::Values(shown));

}  // namespace
}  // namespace videoanalysis::conformance
