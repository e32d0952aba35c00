import QtQuick
import Tevanto

/// Text that is shown as it is, whatever stands in it.
Text {
    color: Theme.primary
    font.pixelSize: Theme.bodySize
    textFormat: Text.PlainText
    renderType: Text.QtRendering
    Accessible.role: Accessible.StaticText
    Accessible.name: text
}
