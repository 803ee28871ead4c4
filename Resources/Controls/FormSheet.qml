// The panel of a screen that is presented as a form sheet; where there is little room it is the whole screen.
import QtQuick
import VideoAnalysis

View {
    id: sheet

    default property alias content: panel.data
    /// It has the window for itself; otherwise it is a card.
    readonly property bool isWhole: !parent || width >= parent.width

    solid: true

    // The keyboard is the sheet's while it is there.
    Window.onWindowChanged: if (Window.window) forceActiveFocus()

    Rectangle {
        anchors.fill: parent
        radius: sheet.isWhole ? 0 : 10
        color: Theme.ground

        Rectangle {
            anchors.fill: parent
            radius: parent.radius
            color: Theme.ink
            opacity: 0.07
        }
        Item {
            id: panel
            anchors.fill: parent
        }
    }
}
