// One player: its picture, the drawings over it, and what is shown while there is no picture.
import QtQuick
import VideoAnalysis
import "Controls"

PlayerCell {
    id: cell

    GesturedScrollView {
        id: scroll
        outlet: "playerScrollView"
        anchors.fill: parent

        Item {
            anchors.fill: parent
            transform: [
                Scale {
                    xScale: scroll.zoomScale
                    yScale: scroll.zoomScale
                },
                Translate {
                    x: -scroll.offset.x
                    y: -scroll.offset.y
                }
            ]

            VideoView {
                id: video
                outlet: "playerView"
                anchors.fill: parent
                zoom: scroll.zoomScale

                Notice {
                    anchors.centerIn: parent
                    visible: video.status !== VideoView.Ready && video.status !== VideoView.BrokenOff
                    glyph: {
                        switch (video.status) {
                        case VideoView.Failed: return "film_failed"
                        case VideoView.Loading: return "hourglass"
                        default: return "film"
                        }
                    }
                    text: {
                        switch (video.status) {
                        case VideoView.Failed: return qsTr("%1 cannot be shown").arg(video.clipName)
                        case VideoView.Loading: return qsTr("Opening the clip")
                        default: return qsTr("No clip yet")
                        }
                    }
                    detail: video.failure
                }
            }
            SketchView {
                outlet: "sketchView"
                zoom: scroll.zoomScale
            }
        }
        Rectangle {
            anchors.centerIn: parent
            width: brokenOff.width + 32
            height: brokenOff.height + 32
            radius: 10
            color: Theme.panel
            visible: video.status === VideoView.BrokenOff

            Notice {
                id: brokenOff
                anchors.centerIn: parent
                width: 220
                glyph: "film_broken"
                text: qsTr("The clip breaks off here")
            }
        }
    }
}
