// One end of what is kept: the keyboard moves it frame by frame, the row itself follows fingers.
import QtQuick
import VideoAnalysis

Item {
    id: handle

    required property TrimmerView trimmer
    required property int part
    property string hint
    property string timeText
    readonly property bool isStart: part === TrimmerView.Start
    readonly property bool isTracked: trimmer.tracked === part
    readonly property bool isFocused: activeFocus

    x: isStart ? trimmer.startX - width : trimmer.endX
    width: trimmer.handleWidth
    height: trimmer.height
    activeFocusOnTab: trimmer.enabled

    Accessible.role: Accessible.Slider
    Accessible.name: hint
    Accessible.description: timeText
    Accessible.onIncreaseAction: trimmer.nudge(part, 1)
    Accessible.onDecreaseAction: trimmer.nudge(part, -1)

    Keys.onPressed: (event) => {
        const frames = (event.modifiers & Qt.ShiftModifier) ? 10 : 1
        if (event.key === Qt.Key_Left || event.key === Qt.Key_Right) {
            trimmer.nudge(part, event.key === Qt.Key_Left ? -frames : frames)
            event.accepted = true
        }
    }

    Rectangle {
        anchors.fill: parent
        color: Theme.accent
        radius: 6

        // Square where it meets the row.
        Rectangle {
            x: handle.isStart ? parent.width - width : 0
            width: 6
            height: parent.height
            color: parent.color
        }
        Rectangle {
            anchors.centerIn: parent
            width: 3
            height: handle.isTracked ? 24 : 16
            radius: 1.5
            color: Theme.ground

            Behavior on height { NumberAnimation { duration: Theme.pressMotion; easing.type: Easing.OutCubic } }
        }
    }
    Rectangle {
        anchors.fill: parent
        anchors.margins: -4
        color: "transparent"
        radius: 8
        border.width: 2
        border.color: Theme.ink
        visible: handle.isFocused
    }
}
