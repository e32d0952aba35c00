import QtQuick
import Tevanto

/// A button with a text and, before it, a symbol where it has one.
Pressable {
    id: button

    property string text
    property string symbol
    property bool isPrimary: false
    property int textSize: Theme.captionSize
    readonly property color ink: isPrimary ? Theme.inkOnAccent : Theme.primary

    name: text
    implicitWidth: Math.ceil(content.implicitWidth) + 24
    implicitHeight: Theme.controlHeight

    Rectangle {
        anchors.fill: parent
        radius: Theme.controlRadius
        color: button.isPrimary ? Theme.accentFill : Theme.control
        border.width: button.isPrimary ? 0 : 1
        border.color: Theme.line

        Rectangle {
            anchors.fill: parent
            radius: parent.radius
            color: Theme.veil(button.isPressed, button.isHovered)
        }
    }
    Row {
        id: content

        anchors.centerIn: parent
        spacing: 6

        Symbol {
            anchors.verticalCenter: parent.verticalCenter
            visible: button.symbol !== ""
            name: button.symbol
            tint: button.ink
            extent: 14
        }
        PlainText {
            anchors.verticalCenter: parent.verticalCenter
            text: button.text
            color: button.ink
            font.pixelSize: button.textSize
            font.weight: button.isPrimary ? Font.DemiBold : Font.Medium
            Accessible.ignored: true
        }
    }
    FocusRing {
        radius: Theme.controlRadius + 3
    }
}
