// A placeholder where there is no video: a glyph, one short line, and the reason where there is one.
import QtQuick
import VideoAnalysis

Item {
    id: notice

    property string glyph
    property alias text: line.text
    property alias detail: reason.text

    implicitWidth: Math.min(parent ? parent.width - 48 : 280, 280)
    implicitHeight: column.implicitHeight

    Column {
        id: column
        width: parent.width
        spacing: 12

        Icon {
            anchors.horizontalCenter: parent.horizontalCenter
            width: 40
            height: 40
            name: notice.glyph
            color: Theme.ink
            opacity: 0.55
        }
        Text {
            id: line
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            maximumLineCount: 3
            elide: Text.ElideRight
            textFormat: Text.PlainText
            color: Theme.ink
            opacity: 0.7
            font.pixelSize: 15
        }
        Text {
            id: reason
            width: parent.width
            visible: text.length > 0
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            maximumLineCount: 3
            elide: Text.ElideRight
            textFormat: Text.PlainText
            color: Theme.ink
            opacity: 0.55
            font.pixelSize: 13
        }
    }
}
