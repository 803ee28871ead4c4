// The look of a range slider: a thin track, filled between two thumbs, each with its value above it.
import QtQuick
import VideoAnalysis

RangeSlider {
    id: slider

    /// What assistive technology calls the thumbs.
    property string lowerHint: qsTr("From")
    property string upperHint: qsTr("To")
    readonly property real way: width - 2 * inset
    readonly property real labelOverlap: Math.max(0, lowerLabel.wanted + lowerLabel.width + 8 - upperLabel.wanted)

    implicitWidth: 240
    implicitHeight: 64
    inset: 14
    opacity: enabled ? 1 : 0.35

    Rectangle {
        id: track
        x: slider.inset
        y: 40
        width: slider.way
        height: 4
        radius: 2
        color: Theme.ink
        opacity: 0.28
    }
    Rectangle {
        x: track.x + slider.way * slider.lowerPosition
        y: track.y
        width: slider.way * (slider.upperPosition - slider.lowerPosition)
        height: track.height
        color: Theme.accent
    }
    Repeater {
        model: [RangeSlider.Lower, RangeSlider.Upper]

        Item {
            id: thumb
            required property int modelData
            readonly property bool isLower: modelData === RangeSlider.Lower
            readonly property real center: slider.inset + slider.way * (isLower ? slider.lowerPosition : slider.upperPosition)

            x: center - width / 2
            y: track.y + 2 - height / 2
            width: 44
            height: 44
            activeFocusOnTab: slider.enabled

            Accessible.role: Accessible.Slider
            Accessible.name: isLower ? slider.lowerHint : slider.upperHint
            Accessible.description: isLower ? slider.lowerText : slider.upperText
            Accessible.onIncreaseAction: slider.nudge(modelData, 1)
            Accessible.onDecreaseAction: slider.nudge(modelData, -1)
            Keys.onLeftPressed: slider.nudge(modelData, -1)
            Keys.onRightPressed: slider.nudge(modelData, 1)
            Keys.onDownPressed: slider.nudge(modelData, -1)
            Keys.onUpPressed: slider.nudge(modelData, 1)

            Rectangle {
                anchors.centerIn: parent
                width: 20
                height: 20
                radius: 10
                color: Theme.ink
                border.width: 1
                border.color: Theme.ground
                scale: slider.tracked === thumb.modelData ? 1.25 : 1

                Behavior on scale { NumberAnimation { duration: Theme.pressMotion; easing.type: Easing.OutCubic } }
            }
            Rectangle {
                anchors.centerIn: parent
                width: 30
                height: 30
                radius: 15
                color: "transparent"
                border.width: 2
                border.color: Theme.accent
                visible: thumb.activeFocus
            }
        }
    }
    // Above the thumbs, inside the control; near each other they give way to both sides.
    Text {
        id: lowerLabel
        readonly property real wanted: slider.inset + slider.way * slider.lowerPosition - width / 2
        x: Math.max(0, Math.min(wanted - slider.labelOverlap / 2, slider.width - upperLabel.width - width - 8))
        y: 4
        text: slider.lowerText
        color: Theme.ink
        opacity: slider.tracked === RangeSlider.Lower ? 1 : 0.8
        font.pixelSize: 13
    }
    Text {
        id: upperLabel
        readonly property real wanted: slider.inset + slider.way * slider.upperPosition - width / 2
        x: Math.min(slider.width - width, Math.max(wanted + slider.labelOverlap / 2, lowerLabel.width + 8))
        y: 4
        text: slider.upperText
        color: Theme.ink
        opacity: slider.tracked === RangeSlider.Upper ? 1 : 0.8
        font.pixelSize: 13
    }
}
