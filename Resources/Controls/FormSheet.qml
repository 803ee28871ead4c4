// A panel over a dimmed screen; where there is little room it is the whole screen.
import QtQuick
import VideoAnalysis

View {
    id: sheet

    default property alias content: panel.data
    /// How large the panel becomes at most.
    property real preferredWidth: Math.max(760, Math.min(width * 0.6, 1080))
    property real preferredHeight: Math.max(720, Math.min(height * 0.85, 900))
    readonly property bool isWhole: width < 600 || height < 560

    solid: true

    // The keyboard is the sheet's while it is there.
    Window.onWindowChanged: if (Window.window) forceActiveFocus()

    Rectangle {
        anchors.fill: parent
        color: "black"
        opacity: 0.6
    }
    Rectangle {
        anchors.centerIn: parent
        width: sheet.isWhole ? sheet.width : Math.min(sheet.width - 48, sheet.preferredWidth)
        height: sheet.isWhole ? sheet.height : Math.min(sheet.height - 48, sheet.preferredHeight)
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
