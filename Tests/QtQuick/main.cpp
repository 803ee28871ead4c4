// Runs the tests of this program inside one application's event loop.

#include <QGuiApplication>
#include <QTimer>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    QTimer::singleShot(0, [] { QGuiApplication::exit(RUN_ALL_TESTS()); });
    return QGuiApplication::exec();
}
