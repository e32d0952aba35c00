import QtQuick
import Tevanto

/// A control that can be pressed: by the pointer, by Space and Return, and through assistive technology. A press by the
/// pointer does not move the keyboard's focus, so that the ring is there for those who use the keyboard.
Item {
    id: pressable

    property string name
    property string description
    readonly property bool isHovered: hover.hovered && enabled
    readonly property bool isPressed: tap.pressed && enabled

    signal triggered

    function press() {
        if (enabled)
            triggered();
    }

    activeFocusOnTab: true
    opacity: enabled ? 1 : 0.45

    Accessible.role: Accessible.Button
    Accessible.name: name
    Accessible.description: description
    Accessible.focusable: true
    Accessible.onPressAction: press()

    Keys.onSpacePressed: press()
    Keys.onReturnPressed: press()
    Keys.onEnterPressed: press()

    HoverHandler {
        id: hover

        cursorShape: Qt.PointingHandCursor
    }
    TapHandler {
        id: tap

        gesturePolicy: TapHandler.ReleaseWithinBounds
        onTapped: pressable.press()
    }
}
