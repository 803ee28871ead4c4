// Linked into the example program: exits with success once both halves of its window show video, and with failure after one
// minute.

#include <QGuiApplication>
#include <QImage>
#include <QQuickWindow>
#include <QSet>
#include <QTimer>

#include <cstdio>

namespace {

/// Video has many shades; the screen without it has a few dozen colours.
constexpr int coloursOfAPicture = 400;

int colourCount(const QImage& image, const QRect& area) {
    QSet<QRgb> colours;
    for (int y = area.top(); y <= area.bottom(); y += 2) {
        for (int x = area.left(); x <= area.right(); x += 2) colours.insert(image.pixel(x, y));
    }
    return static_cast<int>(colours.size());
}

bool isShowingClips() {
    const QWindowList windows = QGuiApplication::topLevelWindows();
    auto* window = windows.isEmpty() ? nullptr : qobject_cast<QQuickWindow*>(windows.front());
    if (!window) return false;
    const QImage image = window->grabWindow();
    const int half = image.width() / 2;
    const int left = colourCount(image, {0, 0, half, image.height()});
    const int right = colourCount(image, {half, 0, half, image.height()});
    std::printf("colours: %d left, %d right\n", left, right);
    return left > coloursOfAPicture && right > coloursOfAPicture;
}

void observe() {
    auto* timer = new QTimer(qApp);
    timer->callOnTimeout([remaining = 300]() mutable {
        if (isShowingClips())
            QGuiApplication::exit(0);
        else if (--remaining == 0)
            QGuiApplication::exit(1);
    });
    timer->start(200);
}

}  // namespace

Q_COREAPP_STARTUP_FUNCTION(observe)
