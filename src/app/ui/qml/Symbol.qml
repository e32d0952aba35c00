import QtQuick
import Tevanto

/// One of the interface's symbols in one color, sharp at every scale. Its owner provides the accessible name.
Image {
    property string name
    property color tint: Theme.secondary
    property int extent: 18

    width: extent
    height: extent
    sourceSize: Qt.size(extent, extent)
    source: name === "" ? "" : "image://symbols/" + name + "/" + encodeURIComponent(tint.toString())
    Accessible.ignored: true
}
