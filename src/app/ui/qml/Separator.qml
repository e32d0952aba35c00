import QtQuick
import Tevanto

Item {
    property int room: 9

    width: parent ? parent.width : 0
    implicitHeight: 2 * room + 1

    Rectangle {
        anchors.verticalCenter: parent.verticalCenter
        width: parent.width
        height: 1
        color: Theme.line
    }
}
