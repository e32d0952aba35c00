import QtQuick
import Tevanto

Column {
    id: section

    required property CompanionModel companion

    spacing: 6

    PlainText {
        leftPadding: 2
        text: qsTr("Permissions")
        color: Theme.secondary
        font.pixelSize: Theme.captionSize
        font.weight: Font.DemiBold
        Accessible.role: Accessible.Heading
    }
    Card {
        width: parent.width

        PermissionRow {
            objectName: "accessibility"
            width: parent.width
            title: qsTr("Accessibility")
            explanation: qsTr("Allows pointer and keyboard control.")
            isGranted: section.companion.isAccessibilityTrusted
            onOpenSettings: section.companion.openAccessibilitySettings()
        }
        Separator {}
        PermissionRow {
            objectName: "screenRecording"
            width: parent.width
            title: qsTr("Screen Recording")
            explanation: qsTr("Allows this screen to be mirrored.")
            isGranted: section.companion.isScreenRecordingTrusted
            onOpenSettings: section.companion.openScreenRecordingSettings()
        }
    }
}
