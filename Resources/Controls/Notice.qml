// A quiet picture that stands where there is no video: a glyph and one short line.
import QtQuick
import VideoAnalysis

Item {
    id: notice

    property string glyph
    property alias text: line.text

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
            color: Theme.ink
            opacity: 0.7
            font.pixelSize: 15
        }
    }
}
