// The look of a slider: a thin track, filled up to the thumb, on a target of 44 points.
import QtQuick
import VideoAnalysis

Slider {
    id: slider

    property string hint

    implicitHeight: 44
    inset: 10
    opacity: enabled ? 1 : 0.35

    Accessible.role: Accessible.Slider
    Accessible.name: hint
    Accessible.onIncreaseAction: slider.step(0.01)
    Accessible.onDecreaseAction: slider.step(-0.01)

    Rectangle {
        id: track
        x: slider.inset
        y: (slider.height - height) / 2
        width: slider.width - 2 * slider.inset
        height: 4
        radius: 2
        color: Theme.ink
        opacity: 0.28
    }
    Rectangle {
        x: track.x
        y: track.y
        width: track.width * slider.position
        height: track.height
        radius: 2
        color: Theme.accent
    }
    Rectangle {
        x: track.x + track.width * slider.position - width / 2
        y: (slider.height - height) / 2
        width: 16
        height: 16
        radius: 8
        color: Theme.ink
        scale: slider.pressed ? 1.25 : 1

        Behavior on scale { NumberAnimation { duration: Theme.pressMotion; easing.type: Easing.OutCubic } }
    }
    Rectangle {
        anchors.fill: parent
        anchors.topMargin: 8
        anchors.bottomMargin: 8
        radius: height / 2
        color: "transparent"
        border.width: 2
        border.color: Theme.accent
        visible: slider.focusVisible
    }
}
