// A palette: swatches in lines, the chosen one marked. It scrolls where it does not fit, and the arrow keys walk through it.
import QtQuick
import VideoAnalysis

ColorPickerView {
    id: picker
    solid: true

    /// Opaque, independent of the theme's translucency.
    property bool opaque: false
    /// The swatch that the Tab key comes to.
    property int current: Math.max(0, selectedIndex)

    Accessible.role: Accessible.List
    Accessible.name: qsTr("Colors")

    function focusSwatch(index) {
        const swatch = swatchItems.itemAt(index)
        if (!swatch) return
        swatch.forceActiveFocus(Qt.TabFocusReason)
        if (swatch.y - 5 < flick.contentY) flick.contentY = Math.max(0, swatch.y - 5)
        if (swatch.y + swatch.height + 5 > flick.contentY + flick.height)
            flick.contentY = swatch.y + swatch.height + 5 - flick.height
    }

    Item {
        anchors.fill: parent
        opacity: picker.hidden ? 0 : 1

        Behavior on opacity { NumberAnimation { duration: Theme.quickMotion; easing.type: Easing.OutCubic } }

        Rectangle {
            anchors.fill: parent
            radius: 10
            color: picker.opaque ? Qt.alpha(picker.backgroundColor, 1) : picker.backgroundColor
            border.width: 1 / Screen.devicePixelRatio
            border.color: Qt.alpha(Theme.ink, 0.2)
        }
        Flickable {
            id: flick
            anchors.fill: parent
            contentWidth: width
            contentHeight: picker.contentHeight
            boundsBehavior: Flickable.StopAtBounds
            interactive: contentHeight > height + 0.5
            clip: interactive

            // The view sets the position and receives the user's changes.
            onContentYChanged: picker.contentY = contentY

            Connections {
                target: picker
                function onContentYChanged() { flick.contentY = picker.contentY }
            }

            Repeater {
                id: swatchItems
                model: picker.swatches.length

                Item {
                    id: swatch

                    required property int index
                    readonly property var look: picker.swatches[index] ?? null

                    x: look ? look.frame.x : 0
                    y: look ? look.frame.y : 0
                    width: look ? look.frame.width : 0
                    height: look ? look.frame.height : 0
                    activeFocusOnTab: index === picker.current

                    Accessible.role: Accessible.RadioButton
                    Accessible.name: look ? qsTranslate("ColorPicker", look.name) : ""
                    Accessible.checkable: true
                    Accessible.checked: index === picker.selectedIndex
                    Accessible.focusable: true
                    Accessible.onPressAction: picker.select(index)

                    onActiveFocusChanged: if (activeFocus) picker.current = index
                    Keys.onPressed: event => {
                        switch (event.key) {
                        case Qt.Key_Left: picker.focusSwatch(picker.neighbor(index, -1, 0)); break
                        case Qt.Key_Right: picker.focusSwatch(picker.neighbor(index, 1, 0)); break
                        case Qt.Key_Up: picker.focusSwatch(picker.neighbor(index, 0, -1)); break
                        case Qt.Key_Down: picker.focusSwatch(picker.neighbor(index, 0, 1)); break
                        case Qt.Key_Space:
                        case Qt.Key_Return:
                        case Qt.Key_Enter: picker.select(index); break
                        default: return
                        }
                        event.accepted = true
                    }

                    Rectangle {
                        anchors.fill: parent
                        anchors.margins: 2
                        radius: picker.circles ? width / 2 : 6
                        color: swatch.look ? swatch.look.color : "transparent"
                        // Every swatch has an edge against the panel, also one in the panel's own colour.
                        border.width: 1
                        border.color: Qt.alpha(Theme.ink, 0.35)
                        scale: press.pressed ? 0.94 : 1
                        opacity: press.pressed ? 0.7 : 1

                        Behavior on scale { NumberAnimation { duration: Theme.pressMotion; easing.type: Easing.OutCubic } }

                        Icon {
                            anchors.centerIn: parent
                            width: 20
                            height: 20
                            name: "check"
                            color: swatch.look ? swatch.look.markColor : "white"
                            visible: swatch.look ? swatch.look.checked : false
                        }
                    }
                    Rectangle {
                        anchors.fill: parent
                        anchors.margins: -1
                        radius: picker.circles ? width / 2 : 8
                        color: "transparent"
                        border.width: 2
                        border.color: Theme.accent
                        visible: swatch.activeFocus
                    }
                    MouseArea {
                        id: press
                        anchors.fill: parent
                        anchors.margins: -2.5 // half-way to the neighbours
                        onClicked: picker.select(swatch.index)
                    }
                }
            }
        }
    }
}
