import QtQuick
import Tevanto

Row {
    spacing: 10

    TevantoLogoMark {
        anchors.verticalCenter: parent.verticalCenter
    }
    Column {
        anchors.verticalCenter: parent.verticalCenter
        spacing: 1

        PlainText {
            text: qsTr("Tevanto")
            font.pixelSize: Theme.headlineSize
            font.weight: Font.DemiBold
            Accessible.role: Accessible.Heading
        }
        PlainText {
            text: qsTr("Device companion")
            color: Theme.secondary
            font.pixelSize: Theme.captionSize
        }
    }
}
