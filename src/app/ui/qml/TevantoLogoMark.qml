import QtQuick

/// The product's mark.
Image {
    property int extent: 36

    width: extent
    height: extent
    sourceSize: Qt.size(extent, extent)
    source: "image://symbols/TevantoLogoMark"
    Accessible.ignored: true
}
