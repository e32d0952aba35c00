import QtQuick
import Tevanto

/// The panel as it opens under the icon: framed, as no desktop decorates it.
FocusScope {
    id: view

    required property CompanionModel companion
    /// The desktop shows what lies behind the corners.
    property bool isRound: true

    /// The panel is to be closed.
    signal dismissed

    implicitWidth: panel.implicitWidth
    implicitHeight: panel.implicitHeight
    width: implicitWidth
    height: implicitHeight
    focus: true
    LayoutMirroring.enabled: DesktopAppearance.isRightToLeft
    LayoutMirroring.childrenInherit: true
    Keys.onEscapePressed: dismissed()

    Rectangle {
        anchors.fill: parent
        radius: view.isRound ? 12 : 0
        color: Theme.ground
        border.width: 1
        border.color: Theme.line
    }
    MacMenuView {
        id: panel

        anchors.fill: parent
        companion: view.companion
    }
}
