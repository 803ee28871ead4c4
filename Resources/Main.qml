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

            /// Bars and tools are mirrored for languages that run from right to left; pictures, and what plays them, are not.
            readonly property bool isMirrored: Application.layoutDirection === Qt.RightToLeft

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

                LayoutMirroring.enabled: overlay.isMirrored
                LayoutMirroring.childrenInherit: true

                GlyphButton {
                    id: close
                    outlet: "closeButton"
                    action: "handleDiscardAndClose:"
                    hint: qsTr("Close")
                    glyph: "close"
                    anchors.left: parent.left
                    anchors.leftMargin: 12
                    anchors.verticalCenter: parent.verticalCenter
                }
                Label {
                    id: timer
                    outlet: "timerLabel"

                    // Unseen, it costs no frames though it may run on.
                    readonly property string clock: hidden || text === "" ? "00:00:00" : text

                    // In the middle of the bar, or else of what the buttons leave.
                    x: {
                        const start = overlay.isMirrored ? barButtons.x + barButtons.width : close.x + close.width
                        const end = overlay.isMirrored ? close.x : barButtons.x
                        return Math.round(Math.max(start + 4, Math.min((parent.width - width) / 2, end - 4 - width)))
                    }
                    width: timerRow.width
                    height: parent.height

                    Accessible.role: Accessible.StaticText
                    Accessible.name: qsTr("Recording for %1").arg(clock)

                    Row {
                        id: timerRow
                        anchors.verticalCenter: parent.verticalCenter
                        spacing: 8

                        Rectangle {
                            anchors.verticalCenter: parent.verticalCenter
                            width: 8
                            height: 8
                            radius: 4
                            color: "red"
                        }
                        // One column for each digit: the text does not tremble while it counts.
                        Row {
                            LayoutMirroring.enabled: false
                            LayoutMirroring.childrenInherit: true

                            Repeater {
                                model: timer.clock.length

                                Text {
                                    required property int index

                                    width: timer.clock[index] === ":" ? 5 : digitSize.advanceWidth
                                    horizontalAlignment: Text.AlignHCenter
                                    text: timer.clock[index] ?? ""
                                    color: Theme.ink
                                    font.pixelSize: 15
                                }
                            }
                        }
                        TextMetrics {
                            id: digitSize
                            font.pixelSize: 15
                            text: "0"
                        }
                    }
                }
                Row {
                    id: barButtons
                    anchors.right: parent.right
                    anchors.rightMargin: 12
                    anchors.verticalCenter: parent.verticalCenter
                    spacing: 8

                    GlyphButton {
                        outlet: "recordButton"
                        action: "handleScreenRecording:"
                        hint: timer.hidden ? qsTr("Record the screen") : qsTr("Stop recording")
                        glyph: "start_recording"
                    }
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
                id: toolGroup
                outlet: "visibleViews"
                anchors.fill: parent

                LayoutMirroring.enabled: overlay.isMirrored
                LayoutMirroring.childrenInherit: true

                // Where the first player and its own controls stand: the strip keeps out of their way.
                readonly property real cellWidth: controls.firstCell ? controls.firstCell.width : width
                readonly property real cellHeight: controls.firstCell ? controls.firstCell.height : height
                readonly property bool areStacked: cellHeight < height * 0.75
                readonly property real controlsHeight: cellWidth < 448 ? 200 : 148
                readonly property real clipButtonsWidth: 3 * 44 + 2 * 8
                readonly property real room: cellHeight - controlsHeight - topBar.height

                // Five tools and the button that folds them.
                readonly property real stripLength: 6 * 44 + 4 * 8 + 3 * 4
                readonly property real belowClipButtons: topBar.height + 12 + 44 + 4
                readonly property bool isFlat: room < stripLength + 12 + 44 + 8 + 8

                /// The horizontal strip is just above the player's controls, or else beside the clip's buttons (which are at
                /// the right in any language), or else in the lower player's picture.
                readonly property real flatY: {
                    const aboveControls = Math.round(topBar.height + room - 8 - 52)
                    if (aboveControls >= belowClipButtons) return aboveControls
                    const isRoomBeside = cellWidth - 12 - stripLength >= 8 + clipButtonsWidth + 12
                    const besideClipButtons = topBar.height + 8
                    if (isRoomBeside && !overlay.isMirrored || !areStacked) return besideClipButtons
                    return Math.round(cellHeight) + 12 + 44 + 8
                }

                View {
                    id: strip
                    outlet: "drawingShapeView"
                    solid: true
                    anchors.left: parent.left
                    anchors.leftMargin: 12
                    // Half-way down when unfolded, but above the player's controls. Folding leaves the upper end, and so
                    // the button that folds it, where it is.
                    y: toolGroup.isFlat ? toolGroup.flatY
                                        : Math.round(Math.min((parent.height - toolGroup.stripLength) / 2,
                                                              topBar.height + toolGroup.room - 8 - toolGroup.stripLength))
                    width: toolGroup.isFlat ? tools.implicitWidth + fold.width + 3 * 4 : 52
                    height: toolGroup.isFlat ? 52 : tools.implicitHeight + fold.height + 3 * 4

                    // Grows and shrinks under the tools, which can be pressed at once.
                    Rectangle {
                        anchors.left: parent.left
                        width: strip.width
                        height: strip.height
                        radius: 10
                        color: strip.backgroundColor
                        visible: !tools.hidden

                        Behavior on width {
                            enabled: toolGroup.isFlat && overlay.opacity === 1
                            NumberAnimation { duration: Theme.quickMotion; easing.type: Easing.OutCubic }
                        }
                        Behavior on height {
                            enabled: !toolGroup.isFlat && overlay.opacity === 1
                            NumberAnimation { duration: Theme.quickMotion; easing.type: Easing.OutCubic }
                        }
                    }
                    Item {
                        id: fold
                        anchors.left: parent.left
                        anchors.leftMargin: 4
                        y: 4
                        width: 44
                        height: 44
                        rotation: !toolGroup.isFlat ? 0 : overlay.isMirrored ? 90 : -90
                        visible: !tools.hidden

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
                    StackView {
                        id: tools
                        outlet: "drawingToolsStackView"
                        spacing: 8
                        horizontal: toolGroup.isFlat
                        mirrored: overlay.isMirrored
                        anchors.left: parent.left
                        anchors.leftMargin: toolGroup.isFlat ? 52 : 4
                        y: toolGroup.isFlat ? 4 : 52
                        width: implicitWidth
                        height: implicitHeight

                        readonly property Item chosen: {
                            for (const tool of [pen, line, arrow, rectangle, ellipse]) {
                                if (tool.selected) return tool;
                            }
                            return null;
                        }
                        /// The marker's place beside a vertical strip; the layout may have moved the tool since.
                        readonly property real markerY: y + (chosen ? chosen.y + 22 : marker.y + marker.height / 2)

                        GlyphButton {
                            id: pen
                            outlet: "drawingToolButtons"
                            action: "tapOnPen:"
                            tag: Tool.Pen
                            hint: qsTr("Pen")
                            glyph: "pen"
                            ringColor: tintColor
                        }
                        GlyphButton {
                            id: line
                            outlet: "drawingToolButtons"
                            action: "tapOnLine:"
                            tag: Tool.Line
                            hint: qsTr("Line")
                            glyph: "line"
                            ringColor: tintColor
                        }
                        GlyphButton {
                            id: arrow
                            outlet: "drawingToolButtons"
                            action: "tapOnArrow:"
                            tag: Tool.Arrow
                            hint: qsTr("Arrow")
                            glyph: "arrow"
                            ringColor: tintColor
                        }
                        GlyphButton {
                            id: rectangle
                            outlet: "drawingToolButtons"
                            action: "tapOnRect:"
                            tag: Tool.RectangleStroke
                            hint: qsTr("Rectangle")
                            glyph: "rectangle"
                            ringColor: tintColor
                        }
                        GlyphButton {
                            id: ellipse
                            outlet: "drawingToolButtons"
                            action: "tapOnCircle:"
                            tag: Tool.EllipseStroke
                            hint: qsTr("Ellipse")
                            glyph: "ellipse"
                            ringColor: tintColor
                        }
                        // Only holds the marker's place, turn and colour; what is seen of it follows below.
                        ImageView {
                            id: marker
                            outlet: "arrowImage"
                            glyph: "marker"
                            x: overlay.isMirrored ? -26 : 54
                            width: 16
                            height: 16
                        }
                    }
                    Item {
                        id: opener
                        visible: !tools.hidden
                        x: toolGroup.isFlat ? tools.x + (tools.chosen ? tools.chosen.x : 0) : overlay.isMirrored ? -44 : 52
                        y: toolGroup.isFlat ? picker.isAbove ? -20 : 52 : tools.markerY - 22
                        width: 44
                        height: toolGroup.isFlat ? 20 : 44
                        enabled: !toolGroup.isFlat // where the chosen tool alone is the button

                        // The marker's place, from the leading end.
                        readonly property real center: toolGroup.isFlat ? 22 : tools.x + marker.x + marker.width / 2 - x

                        Behavior on x {
                            enabled: toolGroup.isFlat && overlay.opacity === 1
                            NumberAnimation { duration: Theme.quickMotion; easing.type: Easing.OutCubic }
                        }
                        Behavior on y {
                            enabled: !toolGroup.isFlat && overlay.opacity === 1
                            NumberAnimation { duration: Theme.quickMotion; easing.type: Easing.OutCubic }
                        }

                        Button {
                            id: openerButton
                            action: "tapOnColorPicker:"
                            anchors.fill: parent

                            Accessible.role: Accessible.Button
                            Accessible.name: qsTr("Choose a color")
                            Accessible.onPressAction: click()

                            Rectangle {
                                x: opener.center - 10
                                anchors.verticalCenter: parent.verticalCenter
                                width: 20
                                height: 20
                                radius: 10
                                color: Theme.panel
                                border.width: openerButton.focusVisible ? 2 : 0
                                border.color: Theme.accent
                                scale: openerButton.pressed ? 0.94 : 1

                                Icon {
                                    anchors.centerIn: parent
                                    width: 16
                                    height: 16
                                    image: marker.image
                                    color: marker.tintColor
                                    rotation: marker.rotation
                                              + (toolGroup.isFlat ? picker.isAbove ? -90 : 90 : overlay.isMirrored ? 180 : 0)

                                    Behavior on rotation {
                                        enabled: overlay.opacity === 1
                                        NumberAnimation { duration: Theme.quickMotion; easing.type: Easing.OutCubic }
                                    }
                                }
                            }
                        }
                    }
                }

                ColorPicker {
                    id: picker
                    outlet: "colorPickerView"

                    // Four colours of a family in each line; beside a lying strip two families.
                    readonly property int columns: toolGroup.isFlat ? 8 : 4
                    readonly property real highest: topBar.height + 8
                    readonly property bool isInLowerPlayer: toolGroup.isFlat && strip.y > toolGroup.cellHeight
                    readonly property bool isAbove: isInLowerPlayer || toolGroup.isFlat
                                                    && strip.y - 24 - contentHeight >= toolGroup.belowClipButtons
                    /// Over other controls, which must not shine through.
                    opaque: toolGroup.isFlat

                    anchors.left: toolGroup.isFlat ? parent.left : strip.right
                    anchors.leftMargin: toolGroup.isFlat ? 12 : 28
                    width: columns * 30 + (columns - 1) * 5 + 2 * 5
                    height: Math.min(contentHeight,
                                     toolGroup.isFlat && !isAbove ? parent.height - strip.y - strip.height - 24 - 12
                                                                  : parent.height - highest - 12)
                    y: {
                        if (isInLowerPlayer) return Math.max(highest, Math.round(toolGroup.cellHeight) + 8 - height)
                        if (isAbove) return strip.y - 24 - height
                        if (toolGroup.isFlat) return strip.y + strip.height + 24
                        const beside = strip.y + tools.markerY - height / 2
                        return Math.round(Math.max(highest, Math.min(beside, parent.height - 12 - height)))
                    }
                }
            }
        }
    }
}
