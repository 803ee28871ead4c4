// A plain wide button of the program's own screens.
import QtQuick

Rectangle {
    id: button

    property alias text: label.text
    property bool isMain: false

    signal clicked

    height: 48
    radius: 10
    color: isMain ? "#00b0ff" : "#2a2f38"
    opacity: area.pressed ? 0.7 : 1
    activeFocusOnTab: true
    border.width: activeFocus ? 2 : 0
    border.color: "white"

    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.onPressAction: clicked()
    Keys.onSpacePressed: event => { if (!event.isAutoRepeat) clicked() }
    Keys.onReturnPressed: event => { if (!event.isAutoRepeat) clicked() }

    Text {
        id: label
        anchors.centerIn: parent
        color: button.isMain ? "#06222e" : "white"
        font.pixelSize: 15
        font.weight: button.isMain ? Font.DemiBold : Font.Normal
    }
    MouseArea {
        id: area
        anchors.fill: parent
        onClicked: button.clicked()
    }
}
