import QtQuick
import Tevanto

/// A switch. It shows the current value; the owner of the value decides what a press changes.
Pressable {
    id: toggle

    property bool isOn: false

    implicitWidth: 36
    implicitHeight: 20
    Accessible.role: Accessible.CheckBox
    Accessible.checkable: true
    Accessible.checked: isOn
    Accessible.onToggleAction: press()

    Rectangle {
        anchors.fill: parent
        radius: height / 2
        color: toggle.isOn ? Theme.accentFill : Theme.switchOff

        Behavior on color {
            ColorAnimation {
                duration: Theme.quick
            }
        }

        Rectangle {
            anchors.fill: parent
            radius: parent.radius
            color: Theme.veil(toggle.isPressed, toggle.isHovered)
        }
        Rectangle {
            x: toggle.isOn !== toggle.LayoutMirroring.enabled ? parent.width - width - 3 : 3
            y: 3
            width: 14
            height: 14
            radius: 7
            color: "#ffffff"

            Behavior on x {
                NumberAnimation {
                    duration: Theme.quick
                    easing.type: Easing.OutCubic
                }
            }
        }
    }
    FocusRing {
        radius: height / 2
    }
}
