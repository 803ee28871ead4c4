// The start screen: lists the clips and opens their analysis. The sheet for choosing another clip covers everything including
// the analysis.
import QtQuick
import QtQuick.Dialogs

Item {
    id: root

    Rectangle {
        objectName: "startScreen"
        anchors.fill: parent
        color: "#14161a"

        // Scrolls if the content does not fit.
        Flickable {
            id: page
            objectName: "startPage"
            anchors.fill: parent
            contentHeight: Math.max(height, entrance.height + 2 * entrance.margin)
        }
        Column {
            id: entrance
            readonly property real margin: 24
            parent: page.contentItem
            x: (page.width - width) / 2
            y: Math.max(margin, (page.height - height) / 2)
            width: Math.min(page.width - 2 * margin, 420)
            spacing: 16

            Text {
                width: parent.width
                text: qsTr("Video analysis")
                color: "white"
                font.pixelSize: 28
                font.weight: Font.DemiBold
            }
            Text {
                width: parent.width
                text: qsTr("Compare two clips frame by frame and draw on them.")
                color: "#aab0bb"
                font.pixelSize: 15
                wrapMode: Text.Wrap
                bottomPadding: 8
            }
            Repeater {
                model: host.clipNames

                Rectangle {
                    required property string modelData

                    width: parent.width
                    height: 52
                    radius: 10
                    color: "#1f232a"

                    Text {
                        anchors.fill: parent
                        anchors.leftMargin: 16
                        anchors.rightMargin: 16
                        verticalAlignment: Text.AlignVCenter
                        text: parent.modelData
                        elide: Text.ElideMiddle
                        color: "white"
                        font.pixelSize: 15
                    }
                }
            }
            SheetButton {
                objectName: "openButton"
                width: parent.width
                text: qsTr("Open Analysis")
                isMain: true
                onClicked: host.openAnalysis()
            }
            Rectangle {
                objectName: "unsavedCard"
                width: parent.width
                height: unsaved.height + 32
                radius: 10
                color: "#1f232a"
                visible: host.unsavedRecording !== ""

                Column {
                    id: unsaved
                    x: 16
                    y: 16
                    width: parent.width - 32
                    spacing: 12

                    Text {
                        width: parent.width
                        text: qsTr("Unsaved recording")
                        color: "white"
                        font.pixelSize: 15
                    }
                    Text {
                        width: parent.width
                        text: qsTr("A recording that ended on %1 was not saved. Save or discard it.").arg(host.unsavedRecording)
                        color: "#aab0bb"
                        font.pixelSize: 13
                        wrapMode: Text.Wrap
                    }
                    Row {
                        width: parent.width
                        spacing: 8

                        SheetButton {
                            objectName: "openUnsavedButton"
                            width: (parent.width - 16) / 3
                            text: qsTr("Open")
                            onClicked: host.openUnsaved()
                        }
                        SheetButton {
                            objectName: "saveUnsavedButton"
                            width: (parent.width - 16) / 3
                            text: qsTr("Save As…")
                            onClicked: saveDialog.open()
                        }
                        SheetButton {
                            id: discardButton
                            objectName: "discardUnsavedButton"

                            property bool isAsking: false

                            width: (parent.width - 16) / 3
                            text: isAsking ? qsTr("Confirm") : qsTr("Discard")
                            onClicked: {
                                if (isAsking) host.discardUnsaved();
                                isAsking = !isAsking;
                            }

                            Timer {
                                interval: 4000
                                running: discardButton.isAsking
                                onTriggered: discardButton.isAsking = false
                            }
                        }
                    }
                }
                FileDialog {
                    id: saveDialog
                    parentWindow: root.Window.window
                    fileMode: FileDialog.SaveFile
                    defaultSuffix: "mp4"
                    nameFilters: [qsTr("Videos (*.mp4)")]
                    onAccepted: host.saveUnsaved(selectedFile)
                }
            }
            Text {
                objectName: "recordingNotice"
                width: parent.width
                text: host.recordingNotice
                visible: text !== ""
                color: "#aab0bb"
                font.pixelSize: 13
                wrapMode: Text.Wrap
            }
            SheetButton {
                objectName: "controlsButton"
                width: parent.width
                text: qsTr("Controls")
                onClicked: controlsPage.active = true
            }
        }
    }

    // The recording notice while the analysis covers the start screen. Ignores clicks.
    Rectangle {
        id: banner
        objectName: "recordingBanner"

        readonly property real room: parent ? parent.width : 0

        parent: root.parent
        x: Math.round((room - width) / 2)
        y: 64
        z: 100000
        width: Math.min(room - 32, 560, bannerText.implicitWidth + 32)
        height: bannerText.height + 24
        radius: 10
        color: "#e61f232a"
        visible: false

        Text {
            id: bannerText
            x: 16
            y: 12
            width: parent.width - 32
            text: host.recordingNotice
            color: "white"
            font.pixelSize: 15
            wrapMode: Text.Wrap
        }
        Timer {
            id: bannerTime
            interval: 8000
            onTriggered: banner.visible = false
        }
        Connections {
            target: host
            function onRecordingNoticeGiven() {
                banner.visible = true
                bannerTime.restart()
            }
        }
    }

    // Statistics for developers. Ignores clicks.
    Rectangle {
        id: statistics
        objectName: "statisticsOverlay"

        readonly property real room: parent ? parent.width : 0

        parent: root.parent
        x: 12
        y: 60
        z: 100000
        width: Math.min(room - 24, figures.implicitWidth + 24)
        height: figures.height + 16
        radius: 10
        color: "#cc000000"
        visible: host.statistics.shown

        Text {
            id: figures
            x: 12
            y: 8
            width: parent.width - 24
            text: host.statistics.text
            color: "white"
            font.family: "monospace"
            font.pixelSize: 12
            wrapMode: statistics.room < 720 ? Text.Wrap : Text.NoWrap
            textFormat: Text.PlainText
        }
    }

    // Commands that have no button in the analysis.
    Shortcut { sequence: "Ctrl+E"; onActivated: host.editMedia(0) }
    Shortcut { sequence: "Ctrl+Shift+E"; onActivated: host.editMedia(1) }
    Shortcut { sequence: "F12"; onActivated: host.statistics.toggle() }
    Shortcut { sequences: ["F10", "Menu"]; onActivated: menu.visible = !menu.visible }

    Rectangle {
        id: menu
        objectName: "menuSheet"
        parent: root.parent
        anchors.fill: parent
        z: 100000
        color: "#b0000000"
        visible: false

        function choose(action) {
            visible = false
            action()
        }

        MouseArea {
            anchors.fill: parent
            onClicked: menu.visible = false
        }
        Rectangle {
            anchors.centerIn: parent
            width: Math.min(parent.width - 48, 380)
            height: entries.height + 32
            radius: 10
            color: "#1f232a"

            MouseArea { anchors.fill: parent }
            Column {
                id: entries
                x: 16
                y: 16
                width: parent.width - 32
                spacing: 8

                SheetButton {
                    objectName: "trimFirstEntry"
                    width: parent.width
                    text: qsTr("Trim First Clip…   Ctrl+E")
                    onClicked: menu.choose(() => host.editMedia(0))
                }
                SheetButton {
                    objectName: "trimSecondEntry"
                    width: parent.width
                    text: qsTr("Trim Second Clip…   Ctrl+Shift+E")
                    onClicked: menu.choose(() => host.editMedia(1))
                }
                SheetButton {
                    width: parent.width
                    text: qsTr("Controls")
                    onClicked: menu.choose(() => controlsPage.active = true)
                }
                SheetButton {
                    width: parent.width
                    text: qsTr("Cancel")
                    onClicked: menu.visible = false
                }
            }
        }
    }

    Loader {
        id: controlsPage
        objectName: "controlsPage"
        parent: root.parent
        anchors.fill: parent
        z: 100000
        active: false
        source: "ControlsPage.qml"

        Connections {
            target: controlsPage.item
            function onClosed() { controlsPage.active = false }
        }
    }

    Rectangle {
        objectName: "mediaSheet"
        parent: root.parent
        anchors.fill: parent
        z: 100000
        color: "#b0000000"
        visible: host.choosing

        MouseArea {
            anchors.fill: parent
            onClicked: host.cancelChoice()
        }
        Rectangle {
            anchors.centerIn: parent
            width: Math.min(parent.width - 48, 320)
            height: choices.height + 32
            radius: 10
            color: "#1f232a"

            MouseArea { anchors.fill: parent }
            Column {
                id: choices
                x: 16
                y: 16
                width: parent.width - 32
                spacing: 8

                Text {
                    text: qsTr("Choose a Clip")
                    color: "white"
                    font.pixelSize: 15
                    bottomPadding: 4
                }
                SheetButton {
                    objectName: "sampleButton"
                    width: parent.width
                    text: qsTr("Sample Clip")
                    onClicked: host.chooseSample()
                }
                SheetButton {
                    width: parent.width
                    text: qsTr("Open File…")
                    onClicked: fileDialog.open()
                }
                SheetButton {
                    width: parent.width
                    text: qsTr("Cancel")
                    onClicked: host.cancelChoice()
                }
            }
        }
        FileDialog {
            id: fileDialog
            parentWindow: root.Window.window
            nameFilters: [qsTr("Videos (*.mp4 *.mov *.m4v *.mkv *.webm *.avi)"), qsTr("All files (*)")]
            onAccepted: host.chooseFile(selectedFile)
        }
    }
}
