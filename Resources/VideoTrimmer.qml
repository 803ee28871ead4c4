// The trim screen: the clip under its crop mask, the row with the handles, and the progress of a save.
import QtQuick
import VideoAnalysis
import "Controls"

Scene {
    identifier: "VideoTrimmerController"

    FormSheet {
        id: sheet

        // A key that is held down does this once.
        Keys.onEscapePressed: (event) => { if (!event.isAutoRepeat) cancelButton.click() }
        Keys.onSpacePressed: (event) => { if (!event.isAutoRepeat) playButton.click() }

        Item {
            id: header
            width: parent.width
            height: 60

            GlyphButton {
                id: cancelButton
                outlet: "cancelButton"
                action: "cancel:"
                title: qsTr("Cancel")
                hint: progress.hidden ? qsTr("Leave the clip as it is") : qsTr("Stop saving")
                x: 12
                anchors.verticalCenter: parent.verticalCenter
            }
            Text {
                anchors.centerIn: parent
                text: qsTr("Trim")
                color: Theme.ink
                font.pixelSize: 15
                font.weight: Font.DemiBold
            }
            Item {
                anchors.right: parent.right
                anchors.rightMargin: 12
                anchors.verticalCenter: parent.verticalCenter
                width: saveButton.width
                height: 44

                Rectangle {
                    anchors.fill: parent
                    anchors.topMargin: 4
                    anchors.bottomMargin: 4
                    radius: height / 2
                    color: Theme.ink
                    opacity: saveButton.enabled ? 0.16 : 0.06
                }
                GlyphButton {
                    id: saveButton
                    outlet: "saveButton"
                    action: "save:"
                    title: qsTr("Save")
                    hint: qsTr("Save what is kept")
                    width: implicitWidth + 16
                    height: 44
                }
            }
        }

        CropView {
            id: crop
            outlet: "cropView"
            x: 12
            y: header.height
            width: parent.width - 24
            height: controls.y - y - 8

            Accessible.role: Accessible.Graphic
            Accessible.name: cropping ? qsTr("Picture beneath the mask: arrow keys move it, plus and minus zoom")
                                      : qsTr("Picture")

            VideoView {
                id: video
                outlet: "videoView"
                x: crop.pictureRect.x
                y: crop.pictureRect.y
                width: crop.pictureRect.width
                height: crop.pictureRect.height
            }
            Notice {
                anchors.centerIn: parent
                visible: video.status === VideoView.Failed || video.status === VideoView.Loading
                glyph: video.status === VideoView.Failed ? "film_failed" : "hourglass"
                text: video.status === VideoView.Failed ? qsTr("%1 cannot be shown").arg(video.clipName)
                                                        : qsTr("Opening the clip")
                detail: video.failure
            }
            Item {
                id: mask
                anchors.fill: parent
                visible: crop.cropping

                readonly property rect hole: crop.maskRect
                readonly property color shade: Qt.rgba(0, 0, 0, 0.62)

                Rectangle { width: parent.width; height: mask.hole.y; color: mask.shade }
                Rectangle {
                    y: mask.hole.y + mask.hole.height
                    width: parent.width
                    height: parent.height - y
                    color: mask.shade
                }
                Rectangle { y: mask.hole.y; width: mask.hole.x; height: mask.hole.height; color: mask.shade }
                Rectangle {
                    x: mask.hole.x + mask.hole.width
                    y: mask.hole.y
                    width: parent.width - x
                    height: mask.hole.height
                    color: mask.shade
                }
                Rectangle {
                    x: mask.hole.x
                    y: mask.hole.y
                    width: mask.hole.width
                    height: mask.hole.height
                    color: "transparent"
                    border.width: crop.focusVisible ? 2 : 1
                    border.color: crop.focusVisible ? Theme.accent : Qt.rgba(1, 1, 1, crop.locked ? 0.35 : 0.85)

                    // Thirds, and corners to take hold of; neither while nothing can be moved.
                    Repeater {
                        model: crop.locked ? 0 : 2
                        Rectangle {
                            required property int index
                            x: parent.width * (index + 1) / 3
                            width: 1
                            height: parent.height
                            color: Qt.rgba(1, 1, 1, 0.35)
                        }
                    }
                    Repeater {
                        model: crop.locked ? 0 : 2
                        Rectangle {
                            required property int index
                            y: parent.height * (index + 1) / 3
                            width: parent.width
                            height: 1
                            color: Qt.rgba(1, 1, 1, 0.35)
                        }
                    }
                    Repeater {
                        model: crop.free && !crop.locked ? 4 : 0
                        Item {
                            id: corner
                            required property int index
                            readonly property bool isRight: index % 2 === 1
                            readonly property bool isLow: index > 1
                            x: isRight ? parent.width - 20 : 0
                            y: isLow ? parent.height - 20 : 0
                            width: 20
                            height: 20

                            Rectangle { y: corner.isLow ? 17 : 0; width: 20; height: 3; color: "white" }
                            Rectangle { x: corner.isRight ? 17 : 0; width: 3; height: 20; color: "white" }
                        }
                    }
                }
            }
        }

        Column {
            id: controls
            x: 12
            y: parent.height - height - 16
            width: parent.width - 24
            spacing: 8

            View {
                id: aspects
                outlet: "aspectsView"
                width: parent.width
                height: hidden ? 0 : 44

                Row {
                    anchors.horizontalCenter: parent.horizontalCenter
                    spacing: 8

                    Repeater {
                        model: [
                            { aspect: Aspect.Free, name: qsTr("Free") },
                            { aspect: Aspect.Square, name: "1:1" },
                            { aspect: Aspect.Portrait4To5, name: "4:5" },
                            { aspect: Aspect.Landscape16To9, name: "16:9" },
                            { aspect: Aspect.Portrait9To16, name: "9:16" }
                        ]
                        GlyphButton {
                            required property var modelData
                            outlet: "aspectButtons"
                            action: "chooseAspect:"
                            tag: modelData.aspect
                            title: modelData.name
                            hint: modelData.aspect === Aspect.Free ? qsTr("Any shape") : qsTr("Shape %1").arg(title)
                            width: Math.max(implicitWidth + 4, 52)
                        }
                    }
                }
            }

            Item {
                width: parent.width
                height: 44

                GlyphButton {
                    id: playButton
                    outlet: "playButton"
                    action: "togglePlaying:"
                    hint: qsTr("Play or pause")
                    glyph: "play.fill"
                }
                Label {
                    id: kept
                    outlet: "durationLabel"
                    anchors.centerIn: parent
                    width: keptText.implicitWidth
                    height: keptText.implicitHeight

                    Text {
                        id: keptText
                        text: kept.text
                        color: Theme.ink
                        font.pixelSize: 15
                        Accessible.role: Accessible.StaticText
                        Accessible.name: qsTr("Length: %1").arg(kept.text)
                    }
                }
                GlyphButton {
                    outlet: "cropButton"
                    action: "toggleCropping:"
                    hint: qsTr("Crop the picture")
                    glyph: "crop"
                    anchors.right: parent.right
                }
            }

            TrimmerView {
                id: trimmer
                outlet: "trimmerView"
                width: parent.width
                height: 56
                opacity: enabled ? 1 : 0.35

                Item {
                    id: row
                    x: trimmer.handleWidth
                    width: parent.width - 2 * trimmer.handleWidth
                    height: parent.height
                    clip: true

                    Rectangle {
                        anchors.fill: parent
                        color: Theme.ink
                        opacity: 0.12
                    }
                    Repeater {
                        model: trimmer.thumbnailCount
                        Icon {
                            required property int index
                            x: index * trimmer.thumbnailWidth
                            width: trimmer.thumbnailWidth
                            height: row.height
                            image: trimmer.thumbnailCount > index ? trimmer.thumbnail(index) : image
                        }
                    }
                    // What is left out.
                    Rectangle {
                        width: Math.max(0, trimmer.startX - row.x)
                        height: parent.height
                        color: Theme.ground
                        opacity: 0.7
                    }
                    Rectangle {
                        x: trimmer.endX - row.x
                        width: Math.max(0, parent.width - x)
                        height: parent.height
                        color: Theme.ground
                        opacity: 0.7
                    }
                    Rectangle {
                        id: keptFrame
                        x: trimmer.startX - row.x
                        width: trimmer.endX - trimmer.startX
                        height: 3
                        color: Theme.accent
                    }
                    Rectangle {
                        x: keptFrame.x
                        y: parent.height - 3
                        width: keptFrame.width
                        height: 3
                        color: Theme.accent
                    }
                }
                Item {
                    id: bar
                    objectName: "positionBar"
                    x: trimmer.positionX - width / 2
                    width: 7
                    height: parent.height
                    visible: trimmer.tracked !== TrimmerView.Start && trimmer.tracked !== TrimmerView.End
                    activeFocusOnTab: trimmer.enabled

                    Accessible.role: Accessible.Slider
                    Accessible.name: qsTr("Where it plays")
                    Accessible.onIncreaseAction: trimmer.nudge(TrimmerView.Position, 1)
                    Accessible.onDecreaseAction: trimmer.nudge(TrimmerView.Position, -1)
                    Keys.onPressed: (event) => {
                        const frames = (event.modifiers & Qt.ShiftModifier) ? 10 : 1
                        if (event.key === Qt.Key_Left || event.key === Qt.Key_Right) {
                            trimmer.nudge(TrimmerView.Position, event.key === Qt.Key_Left ? -frames : frames)
                            event.accepted = true
                        }
                    }

                    Rectangle {
                        anchors.fill: parent
                        radius: 3.5
                        color: Qt.rgba(0, 0, 0, 0.45)
                    }
                    Rectangle {
                        anchors.horizontalCenter: parent.horizontalCenter
                        width: 3
                        height: parent.height
                        radius: 1.5
                        color: "white"
                    }
                    Rectangle {
                        anchors.fill: parent
                        anchors.margins: -4
                        color: "transparent"
                        radius: 6
                        border.width: 2
                        border.color: Theme.ink
                        visible: bar.activeFocus
                    }
                }
                TrimHandle {
                    trimmer: trimmer
                    part: TrimmerView.Start
                    hint: qsTr("Beginning")
                    timeText: from.text
                }
                TrimHandle {
                    trimmer: trimmer
                    part: TrimmerView.End
                    hint: qsTr("End")
                    timeText: to.text
                }
            }

            Item {
                width: parent.width
                height: 24

                Label {
                    id: from
                    outlet: "startLabel"
                    width: fromText.implicitWidth
                    height: parent.height
                    visible: progress.hidden

                    Text {
                        id: fromText
                        anchors.verticalCenter: parent.verticalCenter
                        text: from.text
                        color: Theme.ink
                        opacity: trimmer.tracked === TrimmerView.Start ? 1 : 0.7
                        font.pixelSize: 13
                    }
                }
                Label {
                    id: to
                    outlet: "endLabel"
                    anchors.right: parent.right
                    width: toText.implicitWidth
                    height: parent.height
                    visible: progress.hidden

                    Text {
                        id: toText
                        anchors.verticalCenter: parent.verticalCenter
                        text: to.text
                        color: Theme.ink
                        opacity: trimmer.tracked === TrimmerView.End ? 1 : 0.7
                        font.pixelSize: 13
                    }
                }
                SaveProgress {
                    id: progress
                    outlet: "progressView"
                    width: parent.width
                    height: parent.height

                    readonly property string said: {
                        if (secondsLeft < 0) return qsTr("Saving")
                        const seconds = Math.ceil(secondsLeft)
                        if (seconds < 60) return qsTr("Saving, about %1 s left").arg(Math.max(seconds, 1))
                        return qsTr("Saving, about %1 min left").arg(Math.round(seconds / 60))
                    }

                    Accessible.role: Accessible.ProgressBar
                    Accessible.name: said

                    Rectangle {
                        id: track
                        width: parent.width
                        height: 4
                        radius: 2
                        color: Theme.ink
                        opacity: 0.28
                    }
                    Rectangle {
                        width: parent.width * progress.progress
                        height: 4
                        radius: 2
                        color: Theme.accent
                    }
                    Text {
                        anchors.horizontalCenter: parent.horizontalCenter
                        y: 8
                        text: progress.said
                        color: Theme.ink
                        opacity: 0.8
                        font.pixelSize: 13
                    }
                }
            }
        }
    }
}
