// The controls of one player, at the bottom of its picture: the seek bar, then one row; where that does not fit, two.
import QtQuick
import VideoAnalysis
import "Controls"

OverlayCell {
    id: cell

    HUDView {
        id: hud
        outlet: "hudView"
        anchors.fill: parent

        readonly property bool isNarrow: width < 448
        readonly property bool hasMediaControls: !seekbar.hidden

        View {
            outlet: "leftButtonsView shadowViews"
            solid: true
            anchors.right: parent.right
            anchors.rightMargin: 12
            y: cell.y < 52 ? 64 : 12 // below the top bar, where that is
            width: clipButtons.width
            height: 44

            Rectangle {
                anchors.fill: parent
                radius: height / 2
                color: Theme.panel
            }
            Row {
                id: clipButtons
                spacing: 8

                GlyphButton {
                    outlet: "editButton"
                    hint: qsTr("Trim this clip")
                    glyph: "edit"
                }
                GlyphButton {
                    outlet: "replaceButton"
                    hint: qsTr("Replace this clip")
                    glyph: "replace"
                }
                GlyphButton {
                    outlet: "deleteButton"
                    hint: qsTr("Remove this clip")
                    glyph: "delete"
                }
            }
        }

        View {
            id: panel
            outlet: "shadowViews"
            solid: true
            anchors.bottom: parent.bottom
            width: parent.width
            height: rows.y + rows.height + (hud.hasMediaControls ? 52 : 8)

            Rectangle {
                anchors.fill: parent
                color: Theme.panel
            }
            SeekSlider {
                id: seekbar
                outlet: "seekbar"
                hint: qsTr("Position in the clip")
                x: 12 - inset / 2
                y: 4
                width: parent.width - 2 * x - (hud.isNarrow ? 0 : position.width + 8)
            }
            Label {
                id: position
                outlet: "positionLabel"
                anchors.right: parent.right
                anchors.rightMargin: hud.hasMediaControls ? 16 : 64
                y: hud.isNarrow || !hud.hasMediaControls ? rows.y : seekbar.y
                width: Math.max(112, positionText.implicitWidth)
                height: 44

                Text {
                    id: positionText
                    anchors.right: parent.right
                    anchors.verticalCenter: parent.verticalCenter
                    text: position.text
                    color: Theme.ink
                    font.pixelSize: hud.isNarrow ? 13 : 15
                }
            }

            Item {
                id: rows
                x: 12
                y: hud.hasMediaControls ? seekbar.y + seekbar.height : 8
                width: parent.width - 24
                height: hud.isNarrow && hud.hasMediaControls ? 96 : 44

                Row {
                    id: history
                    anchors.bottom: parent.bottom
                    spacing: 8

                    GlyphButton {
                        outlet: "undoButton"
                        hint: qsTr("Undo")
                        glyph: "undo"
                    }
                    GlyphButton {
                        outlet: "redoButton"
                        hint: qsTr("Redo")
                        glyph: "redo"
                    }
                    GlyphButton {
                        outlet: "clearButton"
                        hint: qsTr("Remove all drawings")
                        glyph: "clear"
                    }
                }
                GlyphButton {
                    outlet: "changeFillModeButton"
                    hint: qsTr("How the picture fills its place")
                    glyph: "fill_mode"
                    anchors.right: parent.right
                    anchors.bottom: parent.bottom
                }
            }
            View {
                outlet: "mediaControlView"
                y: rows.y
                width: parent.width
                height: parent.height - y

                Row {
                    x: hud.isNarrow ? 12 : Math.max((parent.width - width) / 2, history.width + 28)
                    spacing: 8

                    GlyphButton {
                        outlet: "rewindButton"
                        hint: qsTr("One frame back")
                        glyph: "step_back"
                    }
                    GlyphButton {
                        outlet: "playPauseButton"
                        hint: qsTr("Play or pause")
                        glyph: "play.fill"
                    }
                    GlyphButton {
                        outlet: "forwardButton"
                        hint: qsTr("One frame forward")
                        glyph: "step_forward"
                    }
                }
                GlyphButton {
                    id: rate
                    outlet: "videoPlayRateSelectorButton"
                    hint: qsTr("Playback rate")
                    anchors.right: parent.right
                    anchors.rightMargin: 64
                    y: rows.height - height
                }
                Timeline {
                    outlet: "timelineView"
                    y: rows.height + 4
                    width: parent.width
                    height: 44
                    markColor: Theme.accent

                    Accessible.role: Accessible.ScrollBar
                    Accessible.name: qsTr("Frame by frame")
                }
            }
        }

        // Over everything, so that it sees every press; it keeps none.
        Item {
            id: watch
            parent: hud.Window.contentItem
            anchors.fill: parent
            z: 100000
            visible: rates.alpha > 0

            PointHandler {
                onActiveChanged: {
                    if (!active) return
                    const isOn = (item) => item.contains(watch.mapToItem(item, point.position))
                    if (!isOn(rates) && !isOn(rate)) hud.touchedBesideRates()
                }
            }
        }
        View {
            id: rates
            outlet: "playbackRateSelectorContainerView"
            alpha: 0
            solid: true
            anchors.right: parent.right
            anchors.rightMargin: 12
            anchors.bottom: panel.top
            anchors.bottomMargin: 8
            width: grid.width + 16
            height: grid.height + 16

            Rectangle {
                anchors.fill: parent
                radius: 10
                color: Theme.panel
                border.width: 1 / Screen.devicePixelRatio
                border.color: Qt.alpha(Theme.ink, 0.2)
            }
            Grid {
                id: grid
                x: 8
                y: 8
                columns: hud.width < 520 ? 4 : 7
                spacing: 8

                Repeater {
                    model: ["0.1x", "0.25x", "0.5x", "0.75x", "1x", "1.5x", "2x"]

                    GlyphButton {
                        required property string modelData

                        outlet: "videoPlaybackSpeedButtons"
                        title: modelData
                        hint: qsTr("Rate %1").arg(modelData)
                        checked: title === rate.title
                        width: 56
                    }
                }
            }
        }
    }
}
