import QtQuick
import Tevanto

/// The panel: whether a phone is connected, the pairing code, the permissions, the switches and the links.
Item {
    id: panel

    required property CompanionModel companion
    /// Shown inside the setup window.
    property bool inWindow: false
    property int panelWidth: 360

    implicitWidth: panelWidth
    implicitHeight: content.height + 2 * Theme.edge

    Column {
        id: content

        x: Theme.margin
        y: Theme.edge
        width: panel.width - 2 * Theme.margin
        spacing: Theme.gap

        PanelHeader {
            width: parent.width
        }
        ConnectionCard {
            width: parent.width
            companion: panel.companion
        }
        PermissionsSection {
            width: parent.width
            companion: panel.companion
        }
        SwitchesCard {
            width: parent.width
            companion: panel.companion
        }
        PanelFooter {
            width: parent.width
            companion: panel.companion
            inWindow: panel.inWindow
        }
    }
}
