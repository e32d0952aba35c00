import QtQuick
import Tevanto

/// Around what the keyboard acts on.
Rectangle {
    property Item control: parent

    anchors.fill: parent
    anchors.margins: -3
    visible: control.activeFocus
    color: "transparent"
    border.width: 2
    border.color: Theme.accent
}
