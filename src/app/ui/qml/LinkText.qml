import QtQuick
import Tevanto

/// A link to somewhere outside the application.
Pressable {
    id: link

    property string text

    name: text
    implicitWidth: label.implicitWidth
    implicitHeight: Theme.controlHeight
    Accessible.role: Accessible.Link

    PlainText {
        id: label

        anchors.verticalCenter: parent.verticalCenter
        text: link.text
        color: link.isHovered || link.isPressed ? Theme.primary : Theme.secondary
        font.pixelSize: Theme.captionSize
        font.underline: link.isHovered
        Accessible.ignored: true
    }
    FocusRing {
        anchors.topMargin: 1
        anchors.bottomMargin: 1
        radius: 5
    }
}
