import QtQuick
import Tevanto

/// The connection line, the status of the screen's server, and the pairing code.
Card {
    id: card

    required property CompanionModel companion
    readonly property bool isConnected: companion.isClientConnected

    Row {
        id: line

        width: parent.width
        spacing: 8

        Rectangle {
            id: dot

            objectName: "dot"
            anchors.verticalCenter: parent.verticalCenter
            width: 8
            height: 8
            radius: 4
            color: card.isConnected ? Theme.connected : Theme.secondary
        }
        PlainText {
            id: state

            objectName: "connection"
            text: card.isConnected ? qsTr("Connected") : qsTr("Ready")
            font.weight: Font.DemiBold
        }
        PlainText {
            objectName: "status"
            // Not what is left from its x on: from right to left, that depends on its width.
            width: line.width - dot.width - state.width - 2 * line.spacing
            anchors.baseline: state.baseline
            text: card.companion.statusText
            color: Theme.secondary
            elide: Text.ElideRight
        }
    }
    PlainText {
        objectName: "screenStatus"
        leftPadding: 16
        topPadding: 4
        width: parent.width
        visible: text !== ""
        text: card.companion.screenStatusText
        color: card.companion.isMirroring ? Theme.accent : Theme.secondary
        font.pixelSize: Theme.captionSize
        wrapMode: Text.WordWrap
    }
    Separator {
        room: 9
    }
    Item {
        width: parent.width
        implicitHeight: code.height

        Column {
            id: code

            anchors.left: parent.left
            anchors.right: copy.left

            PlainText {
                objectName: "codeCaption"
                text: card.isConnected ? qsTr("CONNECTED") : qsTr("PAIRING CODE")
                color: Theme.secondary
                font.pixelSize: Theme.labelSize
                font.weight: Font.Medium
                font.letterSpacing: 0.6
            }
            PlainText {
                objectName: "code"
                text: card.companion.pairingCode
                font.family: Theme.monospacedFamily
                font.pixelSize: Theme.codeSize
                font.letterSpacing: 3
            }
        }
        PushButton {
            id: copy

            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            objectName: "copyCode"
            text: qsTr("Copy code")
            symbol: "doc.on.doc"
            description: qsTr("Copy pairing code")
            onTriggered: card.companion.copyCode()
        }
    }
}
