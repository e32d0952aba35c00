import QtQuick
import Tevanto

Column {
    id: footer

    required property CompanionModel companion
    property bool inWindow: false

    spacing: 8

    PushButton {
        objectName: "openSetupWindow"
        width: parent.width
        visible: !footer.inWindow
        text: qsTr("Open setup window")
        onTriggered: footer.companion.openSetupWindow()
    }
    Item {
        width: parent.width
        implicitHeight: Theme.controlHeight

        Row {
            anchors.left: parent.left
            anchors.leftMargin: 2
            spacing: 14

            LinkText {
                objectName: "website"
                text: qsTr("Website")
                onTriggered: footer.companion.openWebsite()
            }
            LinkText {
                objectName: "support"
                text: qsTr("Support")
                onTriggered: footer.companion.openSupport()
            }
            LinkText {
                objectName: "privacy"
                text: qsTr("Privacy")
                onTriggered: footer.companion.openPrivacy()
            }
            LinkText {
                objectName: "terms"
                text: qsTr("Terms")
                onTriggered: footer.companion.openTerms()
            }
        }
        PushButton {
            anchors.right: parent.right
            objectName: "quit"
            text: qsTr("Quit")
            onTriggered: footer.companion.quit()
        }
    }
}
