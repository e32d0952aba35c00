import QtQuick
import Tevanto

/// One of each control, in a cell of its own.
Rectangle {
    id: sheet

    readonly property int cellHeight: 48
    readonly property list<Item> controls: [button, primary, off, on, link]

    width: 200
    height: controls.length * cellHeight
    color: Theme.ground

    PushButton {
        id: button

        anchors.horizontalCenter: parent.horizontalCenter
        y: 10
        text: "Copy code"
        symbol: "doc.on.doc"
    }
    PushButton {
        id: primary

        anchors.horizontalCenter: parent.horizontalCenter
        y: sheet.cellHeight + 10
        text: "Continue"
        isPrimary: true
    }
    ToggleSwitch {
        id: off

        anchors.horizontalCenter: parent.horizontalCenter
        y: 2 * sheet.cellHeight + 14
    }
    ToggleSwitch {
        id: on

        anchors.horizontalCenter: parent.horizontalCenter
        y: 3 * sheet.cellHeight + 14
        isOn: true
    }
    LinkText {
        id: link

        anchors.horizontalCenter: parent.horizontalCenter
        y: 4 * sheet.cellHeight + 10
        text: "Privacy"
    }
}
