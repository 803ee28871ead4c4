// The look that all buttons share: a glyph or a short title on a target of 44 points, and every state that a press can have.
import QtQuick
import VideoAnalysis

Button {
    id: button

    /// What assistive technology calls the button.
    property string hint
    /// A ring in this colour says that the button is chosen.
    property bool checked: selected
    property color ringColor: Theme.accent
    /// The tint that the component has set; white means the theme's own colour.
    readonly property color ink: Qt.colorEqual(tintColor, "white") ? Theme.ink : tintColor

    implicitWidth: Math.max(44, label.visible ? label.implicitWidth + 16 : 0)
    implicitHeight: 44

    Accessible.role: Accessible.Button
    Accessible.name: hint
    Accessible.checkable: checked
    Accessible.checked: checked
    Accessible.onPressAction: button.click()

    Item {
        id: face
        anchors.fill: parent
        opacity: button.enabled ? (button.pressed ? 0.7 : 1) : 0.35
        scale: button.pressed ? 0.94 : 1

        Behavior on scale { NumberAnimation { duration: Theme.pressMotion; easing.type: Easing.OutCubic } }
        Behavior on opacity { NumberAnimation { duration: Theme.pressMotion; easing.type: Easing.OutCubic } }

        Rectangle {
            anchors.fill: parent
            anchors.margins: 2
            radius: height / 2
            color: button.ink
            opacity: 0.12
            visible: button.hovered && button.enabled
        }
        Rectangle {
            anchors.fill: parent
            anchors.margins: 3
            radius: height / 2
            color: "transparent"
            border.width: 1.75
            border.color: button.ringColor
            visible: button.checked
        }
        Icon {
            anchors.centerIn: parent
            width: 24
            height: 24
            image: button.image
            color: button.ink
        }
        Text {
            id: label
            anchors.centerIn: parent
            text: button.title
            visible: text.length > 0
            color: button.ink
            font.pixelSize: 15
        }
    }
    Rectangle {
        anchors.fill: parent
        radius: height / 2
        color: "transparent"
        border.width: 2
        border.color: Theme.accent
        visible: button.focusVisible
    }
}
