// Runs the tests of this program inside one application's event loop.

#include "QtQuick/RecordingProgram.h"

#include <QGuiApplication>
#include <QTimer>

#include <gtest/gtest.h>

using videoanalysis::RecordingProgram;

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    qputenv("QML_NO_TOUCH_COMPRESSION", "1");  // as the program does
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    if (RecordingProgram::isAskedFor()) return RecordingProgram::run();
    QTimer::singleShot(0, [] { QGuiApplication::exit(RUN_ALL_TESTS()); });
    return QGuiApplication::exec();
}
