import QtQuick
import Tevanto

/// A setting that is on or off, with what it means now.
Item {
    id: row

    property string symbol
    property string title
    property string subtitle
    property bool isOn: false

    /// The user wants the other state.
    signal toggled

    implicitHeight: Math.max(texts.height, toggle.height)

    Symbol {
        id: image

        anchors.left: parent.left
        anchors.verticalCenter: parent.verticalCenter
        name: row.symbol
        tint: row.isOn ? Theme.accent : Theme.secondary
        extent: 18
    }
    Column {
        id: texts

        anchors.left: image.right
        anchors.leftMargin: 9
        anchors.right: toggle.left
        anchors.rightMargin: 7
        anchors.verticalCenter: parent.verticalCenter
        spacing: 2

        PlainText {
            width: parent.width
            text: row.title
            font.weight: Font.Medium
            wrapMode: Text.WordWrap
        }
        PlainText {
            width: parent.width
            text: row.subtitle
            color: Theme.secondary
            font.pixelSize: Theme.captionSize
            wrapMode: Text.WordWrap
        }
    }
    ToggleSwitch {
        id: toggle

        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        name: row.title
        description: row.subtitle
        isOn: row.isOn
        onTriggered: row.toggled()
    }
}
