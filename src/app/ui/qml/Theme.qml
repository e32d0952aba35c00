pragma Singleton

import QtQuick
import Tevanto

/// Colors, sizes and times: one visual language, light and dark. Text on its ground has a contrast of 4.5 to 1
/// or more.
QtObject {
    readonly property bool isDark: DesktopAppearance.isDark
    readonly property bool isMotionReduced: DesktopAppearance.isMotionReduced

    readonly property color ground: isDark ? "#15171c" : "#f3f4f7"
    readonly property color card: isDark ? "#1f2229" : "#ffffff"
    readonly property color line: isDark ? "#31353f" : "#e1e4ea"
    readonly property color primary: isDark ? "#f1f3f7" : "#14171c"
    readonly property color secondary: isDark ? "#a6aebc" : "#5a6372"
    readonly property color accent: isDark ? "#86a8ff" : "#2b55d4"
    readonly property color accentFill: isDark ? "#3f69e0" : "#2b55d4"
    readonly property color inkOnAccent: "#ffffff"
    readonly property color connected: isDark ? "#3ecf6e" : "#1f9d4d"
    readonly property color warning: isDark ? "#ffb648" : "#b35c00"
    readonly property color control: isDark ? "#2b2f38" : "#eef0f4"
    readonly property color switchOff: isDark ? "#676f7d" : "#868e9c"

    readonly property int margin: 16
    /// Above and below: everything fits into the window in every state.
    readonly property int edge: 12
    readonly property int gap: 8
    readonly property int cardPadding: 12
    readonly property int cardRadius: 10
    readonly property int controlRadius: 7
    readonly property int controlHeight: 28

    readonly property int headlineSize: 16
    readonly property int bodySize: 13
    readonly property int captionSize: 12
    readonly property int labelSize: 11
    readonly property int codeSize: 26
    readonly property string monospacedFamily: DesktopAppearance.monospacedFamily

    /// Milliseconds that a color or a switch's knob takes.
    readonly property int quick: isMotionReduced ? 0 : 140

    /// The overlay of a control under the pointer, and while it is pressed.
    function veil(isPressed: bool, isHovered: bool): color {
        const strength = isPressed ? 0.14 : isHovered ? 0.07 : 0;
        return isDark ? Qt.rgba(1, 1, 1, strength) : Qt.rgba(0, 0, 0, strength);
    }
}
