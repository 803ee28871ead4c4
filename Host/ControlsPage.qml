// Shows the component's controls in all their states. Also an example of how a host uses them in its QML.
import QtQuick
import "qrc:/VideoAnalysis/Controls"

Rectangle {
    id: page

    signal closed

    color: "#14161a"

    component Heading: Text {
        color: "#aab0bb"
        font.pixelSize: 13
        topPadding: 8
    }

    // Blocks input to the items below.
    MouseArea { anchors.fill: parent }

    Flickable {
        anchors.fill: parent
        contentHeight: column.height + 48
        boundsBehavior: Flickable.StopAtBounds

        Column {
            id: column
            x: (parent.width - width) / 2
            y: 24
            width: Math.min(page.width - 48, 640)
            spacing: 12

            Item {
                width: parent.width
                height: 48

                Text {
                    anchors.verticalCenter: parent.verticalCenter
                    text: qsTr("Controls")
                    color: "white"
                    font.pixelSize: 28
                    font.weight: Font.DemiBold
                }
                SheetButton {
                    objectName: "closeControlsButton"
                    anchors.right: parent.right
                    width: 96
                    text: qsTr("Close")
                    onClicked: page.closed()
                }
            }

            Heading { text: qsTr("Range slider") }
            RangeSelector {
                objectName: "rangeSlider"
                width: parent.width
                maximumValue: 100
                lowerValue: 20
                upperValue: 70
            }
            Heading { text: qsTr("Steps of 5, min distance 20") }
            RangeSelector {
                width: parent.width
                maximumValue: 100
                step: 5
                minimumDistance: 20
                lowerValue: 40
                upperValue: 60
            }
            Heading { text: qsTr("Thumbs at both ends, and at the same place") }
            Grid {
                width: parent.width
                columns: width > 480 ? 2 : 1
                columnSpacing: 32

                RangeSelector {
                    width: parent.columns > 1 ? (parent.width - 32) / 2 : parent.width
                }
                RangeSelector {
                    width: parent.columns > 1 ? (parent.width - 32) / 2 : parent.width
                    lowerValue: 0.5
                    upperValue: 0.5
                }
            }
            Heading { text: qsTr("Disabled") }
            RangeSelector {
                width: parent.width
                enabled: false
                lowerValue: 0.25
                upperValue: 0.75
            }

            Heading { text: qsTr("Checkbox: unchecked, checked, disabled") }
            Flow {
                width: parent.width
                spacing: 8

                CheckboxRow { objectName: "checkbox"; title: qsTr("Unchecked") }
                CheckboxRow { title: qsTr("Checked"); checked: true }
                CheckboxRow { title: qsTr("Disabled"); enabled: false }
                CheckboxRow { title: qsTr("Disabled, checked"); checked: true; enabled: false }
            }

            Heading { text: qsTr("Buttons: plain, selected, with a title, disabled") }
            Row {
                spacing: 8

                GlyphButton { glyph: "pen"; hint: qsTr("Pen") }
                GlyphButton { glyph: "pen"; hint: qsTr("Pen, selected"); checked: true }
                GlyphButton { title: "1x"; hint: qsTr("Rate") }
                GlyphButton { glyph: "undo"; hint: qsTr("Undo"); enabled: false }
            }

            Heading { text: qsTr("Color picker: circles, squares") }
            Row {
                width: parent.width
                spacing: 16

                ColorPicker {
                    width: (parent.width - 16) / 2
                    height: 168
                    opaque: true
                    Component.onCompleted: select(2)
                }
                ColorPicker {
                    width: (parent.width - 16) / 2
                    height: 168
                    opaque: true
                    circles: false
                    Component.onCompleted: select(6)
                }
            }

            Heading { text: qsTr("Slider") }
            SeekSlider { width: parent.width; hint: qsTr("Seek") }
            SeekSlider { width: parent.width; hint: qsTr("Seek, disabled"); enabled: false }
        }
    }
}
