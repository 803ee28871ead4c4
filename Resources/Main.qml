// The storyboard of the analysis: the screen with the players, and the overlay with the controls over it.
import QtQuick
import VideoAnalysis
import "Controls"

Storyboard {
    Scene {
        identifier: "MainViewController"
        initial: true

        View {
            id: main
            solid: true

            Rectangle {
                anchors.fill: parent
                color: main.backgroundColor
            }
            Notice {
                anchors.centerIn: parent
                glyph: "film"
                text: qsTr("Add a clip to begin")
                visible: players.count === 0
            }
            CollectionView {
                id: players
                outlet: "playersCollectionView"
                layout: "players"
                anchors.fill: parent
            }
        }
    }

    VideoTrimmer {}

    Scene {
        identifier: "OverlayViewController"

        View {
            id: overlay

            CollectionView {
                id: controls
                outlet: "playersCollectionView"
                layout: "players"
                anchors.fill: parent
            }

            View {
                id: topBarBackground
                outlet: "topBarBackgroundView visibleViews"
                solid: true
                width: parent.width
                height: 52

                Rectangle {
                    anchors.fill: parent
                    color: topBarBackground.backgroundColor
                }
            }
            View {
                id: topBar
                outlet: "topBarView visibleViews"
                width: parent.width
                height: 52

                GlyphButton {
                    outlet: "closeButton"
                    action: "handleDiscardAndClose:"
                    hint: qsTr("Close")
                    glyph: "close"
                    x: 12
                    anchors.verticalCenter: parent.verticalCenter
                }
                Row {
                    anchors.right: parent.right
                    anchors.rightMargin: 12
                    anchors.verticalCenter: parent.verticalCenter
                    spacing: 8

                    GlyphButton {
                        outlet: "lockPlaybackButton"
                        action: "handlePlaybackLockToggle:"
                        hint: qsTr("Play both together")
                        glyph: "unlock"
                    }
                    GlyphButton {
                        outlet: "addButton"
                        action: "handleMediaAddition:"
                        hint: qsTr("Add a clip to compare")
                        glyph: "Compare"
                    }
                }
            }

            View {
                id: strip
                outlet: "drawingShapeView visibleViews"
                solid: true
                x: 12
                // Half-way down; where players are stacked, half-way between the top bar and the upper one's controls. Where
                // that is not high enough, the strip lies.
                y: isFlat ? topBar.height + 8
                   : areStacked ? topBar.height + Math.max(2, (parent.height / 2 - hudHeight - topBar.height - height) / 2)
                   : (parent.height - height) / 2
                width: !isFlat ? 52 : coversClipButtons ? parent.width - 24 : flatWidth
                height: isFlat ? 52 : tools.implicitHeight + toggle.height + 3 * 4

                readonly property bool isEmpty: tools.hidden
                readonly property bool areStacked: controls.count > 1 && parent.height >= parent.width
                readonly property bool isFlat: areStacked && parent.height / 2 - hudHeight - topBar.height < 120
                readonly property real flatWidth: tools.implicitWidth + toggle.width + 3 * 4
                readonly property bool coversClipButtons: isFlat && flatWidth > parent.width - 24 - 104
                readonly property real hudHeight: parent.width < 448 ? 200 : 148

                Rectangle {
                    anchors.fill: parent
                    radius: 10
                    color: strip.coversClipButtons ? Theme.ground : strip.backgroundColor
                    visible: !strip.isEmpty
                }
                StackView {
                    id: tools
                    outlet: "drawingToolsStackView"
                    spacing: 8
                    horizontal: strip.isFlat
                    x: 4
                    y: 4
                    width: implicitWidth
                    height: implicitHeight

                    GlyphButton {
                        outlet: "drawingToolButtons"
                        action: "tapOnPen:"
                        tag: 0
                        hint: qsTr("Pen")
                        glyph: "pen"
                        ringColor: tintColor
                    }
                    GlyphButton {
                        outlet: "drawingToolButtons"
                        action: "tapOnLine:"
                        tag: 2
                        hint: qsTr("Line")
                        glyph: "line"
                        ringColor: tintColor
                    }
                    GlyphButton {
                        outlet: "drawingToolButtons"
                        action: "tapOnArrow:"
                        tag: 3
                        hint: qsTr("Arrow")
                        glyph: "arrow"
                        ringColor: tintColor
                    }
                    GlyphButton {
                        outlet: "drawingToolButtons"
                        action: "tapOnRect:"
                        tag: 4
                        hint: qsTr("Rectangle")
                        glyph: "rectangle"
                        ringColor: tintColor
                    }
                    GlyphButton {
                        outlet: "drawingToolButtons"
                        action: "tapOnCircle:"
                        tag: 6
                        hint: qsTr("Ellipse")
                        glyph: "ellipse"
                        ringColor: tintColor
                    }
                    ImageView {
                        id: marker
                        outlet: "arrowImage"
                        glyph: "marker"
                        x: 54
                        width: 16
                        height: 16

                        Rectangle {
                            anchors.fill: parent
                            radius: 8
                            color: Theme.panel
                            visible: !strip.isFlat
                        }
                        Icon {
                            anchors.fill: parent
                            anchors.margins: 2
                            visible: !strip.isFlat
                            image: marker.image
                            color: marker.tintColor
                        }
                    }
                }
                Item {
                    id: toggle
                    x: parent.width - 48
                    y: parent.height - 48
                    rotation: strip.isFlat ? -90 : 0
                    width: 44
                    height: 44
                    visible: !strip.isEmpty

                    GlyphButton {
                        outlet: "expandToolbarButton"
                        action: "handleToolbarExpand:"
                        hint: qsTr("Show all tools")
                        glyph: "expand"
                    }
                    GlyphButton {
                        outlet: "collapseToolbarButton"
                        action: "handleToolbarCollapse:"
                        hint: qsTr("Show the chosen tool only")
                        glyph: "collapse"
                    }
                }
            }
        }
    }
}
