// The look of a checkbox: a box whose mark is drawn as by hand, and its text.
import QtQuick
import QtQuick.Shapes
import VideoAnalysis

Checkbox {
    id: checkbox

    implicitWidth: box.width + (label.text ? label.implicitWidth + 12 : 0) + 20
    implicitHeight: 44

    Accessible.role: Accessible.CheckBox
    Accessible.name: title
    Accessible.checkable: true
    Accessible.checked: checked
    Accessible.onPressAction: checkbox.press()
    Accessible.onToggleAction: checkbox.press()

    Item {
        anchors.fill: parent
        opacity: checkbox.enabled ? (checkbox.pressed ? 0.7 : 1) : 0.35

        Rectangle {
            id: box
            x: 10
            anchors.verticalCenter: parent.verticalCenter
            width: 24
            height: 24
            radius: 6
            color: checkbox.checked ? Theme.accent : "transparent"
            border.width: 1.75
            border.color: checkbox.checked ? Theme.accent : Qt.rgba(Theme.ink.r, Theme.ink.g, Theme.ink.b, 0.7)
            scale: checkbox.pressed ? 0.94 : 1

            Behavior on scale { NumberAnimation { duration: Theme.pressMotion; easing.type: Easing.OutCubic } }
            Behavior on color {
                enabled: checkbox.animated
                ColorAnimation { duration: Theme.pressMotion }
            }

            Shape {
                id: mark

                /// How much of the mark is drawn.
                property real drawn: checkbox.checked ? 1 : 0
                /// The mark's length in strokes of its width.
                readonly property real length: 7.6

                anchors.fill: parent
                visible: drawn > 0

                Behavior on drawn {
                    enabled: checkbox.animated
                    NumberAnimation { duration: Theme.quickMotion; easing.type: Easing.OutCubic }
                }

                ShapePath {
                    strokeWidth: 2.25
                    strokeColor: Theme.ground
                    fillColor: "transparent"
                    capStyle: ShapePath.FlatCap
                    joinStyle: ShapePath.RoundJoin
                    strokeStyle: ShapePath.DashLine
                    dashPattern: [mark.length, mark.length]
                    dashOffset: mark.length * (1 - mark.drawn)
                    startX: 6
                    startY: 12.5
                    PathLine { x: 10.25; y: 16.75 }
                    PathLine { x: 18; y: 8 }
                }
            }
        }
        Text {
            id: label
            anchors.left: box.right
            anchors.leftMargin: 12
            anchors.verticalCenter: parent.verticalCenter
            text: checkbox.title
            color: Theme.ink
            font.pixelSize: 15
        }
    }
    Rectangle {
        anchors.fill: parent
        radius: 10
        color: "transparent"
        border.width: 2
        border.color: Theme.accent
        visible: checkbox.focusVisible
    }
}
