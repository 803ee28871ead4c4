// The ground of a screen that lies over another one as a sheet; the platform gives it its place.
import QtQuick
import VideoAnalysis

View {
    id: sheet

    solid: true

    // The keyboard is the sheet's while it is there.
    Window.onWindowChanged: if (Window.window) forceActiveFocus()

    Rectangle {
        anchors.fill: parent
        color: Theme.ground
    }
    Rectangle {
        anchors.fill: parent
        color: Theme.ink
        opacity: 0.07
    }
}
