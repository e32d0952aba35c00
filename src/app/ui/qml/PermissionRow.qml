import QtQuick
import Tevanto

/// A permission: what it is for and, while it is missing, a warning and the way to grant it.
Item {
    id: row

    property string title
    property string explanation
    property bool isGranted: true

    signal openSettings

    implicitHeight: Math.max(texts.height, button.height)

    Column {
        id: texts

        anchors.left: parent.left
        anchors.right: row.isGranted ? parent.right : button.left
        anchors.rightMargin: row.isGranted ? 0 : 10
        anchors.verticalCenter: parent.verticalCenter
        spacing: 2

        Row {
            spacing: 5

            PlainText {
                text: row.title
                font.weight: Font.Medium
            }
            Symbol {
                anchors.verticalCenter: parent.verticalCenter
                objectName: "warning"
                visible: !row.isGranted
                name: "exclamationmark.triangle.fill"
                tint: Theme.warning
                extent: 14
                Accessible.ignored: false
                Accessible.role: Accessible.Graphic
                Accessible.name: qsTr("Permission missing")
            }
        }
        PlainText {
            width: parent.width
            text: row.explanation
            color: Theme.secondary
            font.pixelSize: Theme.captionSize
            wrapMode: Text.WordWrap
        }
    }
    PushButton {
        id: button

        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        visible: !row.isGranted
        text: qsTr("Open Settings")
        description: row.title
        onTriggered: row.openSettings()
    }
}
